#include "demo_scratch_dir.h"

#include <qobase/files/path.h>
#include <stdlib.h>

namespace qobase_tool {

DemoScratchDir::DemoScratchDir() {
  char pattern[] = "/tmp/qobase-demo-XXXXXX";
  if (mkdtemp(pattern)) m_path = pattern;
}

DemoScratchDir::~DemoScratchDir() {
  if (IsValid()) zu::Path(m_path).Remove(true);
}

}  // namespace qobase_tool
