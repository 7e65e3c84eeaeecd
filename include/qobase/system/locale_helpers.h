// A scoped change of the process's global locale.
#pragma once

#include <locale>
#include <string>

namespace zu {
namespace LocaleHelpers {

// Makes `locale` the global locale (the C library's too when it has a name) for the lifetime of
// the object, then restores the previous global locale and the C library's previous locale. The
// change is process-wide: use it from one thread at a time.
class AutoLocaleChange {
 public:
  explicit AutoLocaleChange(const std::locale& locale);
  ~AutoLocaleChange();
  AutoLocaleChange(const AutoLocaleChange&) = delete;
  AutoLocaleChange& operator=(const AutoLocaleChange&) = delete;

 private:
  std::locale m_previous;
  std::string m_previousCLocale;
};

}  // namespace LocaleHelpers
}  // namespace zu
