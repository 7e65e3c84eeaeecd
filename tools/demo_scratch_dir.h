// A fresh folder under /tmp for one section of `qobase demo`, removed with everything in it when
// the section ends, so the demo leaves nothing behind on the machine it runs on.
#pragma once

#include <string>

namespace qobase_tool {

class DemoScratchDir {
 public:
  DemoScratchDir();
  ~DemoScratchDir();
  DemoScratchDir(const DemoScratchDir&) = delete;
  DemoScratchDir& operator=(const DemoScratchDir&) = delete;

  // False when the folder could not be made; Path() is then empty.
  bool IsValid() const { return !m_path.empty(); }
  const std::string& Path() const { return m_path; }
  // Path() + "/" + name.
  std::string File(const std::string& name) const { return m_path + "/" + name; }

 private:
  std::string m_path;
};

}  // namespace qobase_tool
