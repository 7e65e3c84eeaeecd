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
  if (QO::GetChannelConfigType(config) == QO::k_channelConfigStandard) {
    // The file's channels follow the mask's bits upward (FL FR FC LFE ...), so each is named by
    // its own bit; the display-name list would put LFE last, where the file does not have it.
    const uint32_t mask = QO::GetChannelConfigMask(config);
    for (uint32_t bit = 1; bit != 0 && bit <= 0x20000; bit <<= 1) {
      if (mask & bit) text.names.push_back(StringHelp::ChannelToDisplayName(bit));
    }
    return text;
  }
  std::vector<CStdStr> names;
  StringHelp::ChannelConfigToDisplayNames(config, names);
  text.names.assign(names.begin(), names.end());
  return text;
}

}  // namespace qobase_tool
