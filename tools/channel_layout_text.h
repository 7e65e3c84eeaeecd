// A channel configuration as users see it in the authoring tool: its display name ("5.1",
// "2.0", "4 (Ambisonics)") and the name of each channel in channel order ("L,R,C,LFE,SL,SR").
#pragma once

#include <qobase/audio/wave_format.h>

#include <string>
#include <vector>

namespace qobase_tool {

struct ChannelLayoutText {
  std::string name;  // empty for a configuration type without a name
  // One per channel in the file's channel order; empty for a bit without a name, and for an
  // unknown configuration type.
  std::vector<std::string> names;
  // "L,R,C,LFE,SL,SR".
  std::string JoinedNames() const;
};

ChannelLayoutText DescribeChannelLayout(QoChannelConfig config);

}  // namespace qobase_tool
