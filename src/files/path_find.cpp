// zu::PathFind: the paths matching a shell pattern, one after the other.
#include <qobase/files/path_find.h>

#include <cstring>

namespace zu {

PathFind::PathFind(const CStdStr& pattern, bool includeHidden)
    : m_includeHidden(includeHidden), m_more(false), m_hasNext(false), m_position(0) {
  std::memset(&m_matches, 0, sizeof(m_matches));
  if (glob(pattern.c_str(), GLOB_TILDE, nullptr, &m_matches) == 0 && m_matches.gl_pathc > 0) {
    m_more = true;
  }
  CacheNext();
}

PathFind::~PathFind() { globfree(&m_matches); }

bool PathFind::HasNext() const { return m_hasNext; }

Path PathFind::Next() {
  if (!m_hasNext) return Path();
  Path result(std::move(m_next));
  m_next = Path();
  CacheNext();
  return result;
}

void PathFind::CacheNext() {
  m_hasNext = false;
  while (m_more) {
    if (m_position >= m_matches.gl_pathc) {
      m_more = false;
      break;
    }
    const char* match = m_matches.gl_pathv[m_position++];
    if (!match) continue;
    Path candidate(match);
    candidate.Canonicalize();
    const std::string& text = candidate.GetText();
    if (text == "." || text == "..") continue;
    if (!m_includeHidden && candidate.IsHidden()) continue;
    m_next = std::move(candidate);
    m_hasNext = true;
    return;
  }
}

}  // namespace zu
