// zu::PathFind: the paths matching a shell pattern ("~" for the home directory, "*", "?",
// "[...]"), in sorted order, canonicalised, without "." and "..", and without hidden entries
// unless asked for.
#pragma once

#include <qobase/files/path.h>

#include <glob.h>

#include <cstdint>

namespace zu {

// An enumeration of paths, read with HasNext and Next.
class IPathFind {
 public:
  // The next path and advance; the empty path when there is none.
  virtual Path Next() = 0;
  virtual bool HasNext() const = 0;

 protected:
  ~IPathFind() = default;
};

class PathFind final : public IPathFind {
 public:
  // Expands `pattern` now; entries with the hidden flag are left out unless `includeHidden`.
  PathFind(const CStdStr& pattern, bool includeHidden);
  ~PathFind();
  PathFind(const PathFind&) = delete;
  PathFind& operator=(const PathFind&) = delete;

  Path Next() override;
  bool HasNext() const override;

 private:
  void CacheNext();

  bool m_includeHidden;
  bool m_more;
  bool m_hasNext;
  std::uint64_t m_position;
  glob_t m_matches;
  Path m_next;
};

}  // namespace zu
