#include "channel_layout_text.h"

#include <qobase/strings/channel_config_names.h>

namespace qobase_tool {

std::string ChannelLayoutText::JoinedNames() const {
  std::string joined;
  for (const std::string& channel : names) joined += (joined.empty() ? "" : ",") + channel;
  return joined;
}

ChannelLayoutText DescribeChannelLayout(QoChannelConfig config) {
  ChannelLayoutText text;
  CStdStr name;
  StringHelp::ChannelConfigDisplayName(config, name);
  text.name = name;
  std::vector<CStdStr> names;
  StringHelp::ChannelConfigToDisplayNames(config, names);
  text.names.assign(names.begin(), names.end());
  return text;
}

}  // namespace qobase_tool
