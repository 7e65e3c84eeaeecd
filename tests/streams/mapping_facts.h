// What the kernel reports about the memory mapping that holds an address: its flags and how much
// of it sits on large pages. For tests of memory policy.
#pragma once

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>

namespace qotest {

struct MappingFacts {
  bool found = false;
  bool largePagesAdvised = false;        // flag "hg"
  bool largePagesRefused = false;        // flag "nh"
  unsigned long largePageKilobytes = 0;  // AnonHugePages
};

inline MappingFacts FactsOfMappingAt(const void* address) {
  MappingFacts facts;
  std::ifstream smaps("/proc/self/smaps");
  const auto target = reinterpret_cast<uintptr_t>(address);
  bool inside = false;
  for (std::string line; std::getline(smaps, line);) {
    unsigned long start = 0, end = 0;
    unsigned long kilobytes = 0;
    if (std::sscanf(line.c_str(), "%lx-%lx ", &start, &end) == 2) {
      if (facts.found) break;  // the mapping after the one asked about
      inside = start <= target && target < end;
      facts.found = inside;
    } else if (inside && std::sscanf(line.c_str(), "AnonHugePages: %lu kB", &kilobytes) == 1) {
      facts.largePageKilobytes = kilobytes;
    } else if (inside && line.rfind("VmFlags:", 0) == 0) {
      const std::string flags = line + " ";
      facts.largePagesAdvised = flags.find(" hg ") != std::string::npos;
      facts.largePagesRefused = flags.find(" nh ") != std::string::npos;
    }
  }
  return facts;
}

}  // namespace qotest
