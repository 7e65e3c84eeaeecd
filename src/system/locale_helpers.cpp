// The scoped global locale. The C library's locale is saved by name as well: restoring an unnamed
// C++ locale would not reset it.
#include <qobase/system/locale_helpers.h>

#include <clocale>

namespace zu {
namespace LocaleHelpers {

AutoLocaleChange::AutoLocaleChange(const std::locale& locale) {
  const char* current = std::setlocale(LC_ALL, nullptr);
  if (current) m_previousCLocale = current;
  m_previous = std::locale::global(locale);
}

AutoLocaleChange::~AutoLocaleChange() {
  std::locale::global(m_previous);
  if (!m_previousCLocale.empty()) std::setlocale(LC_ALL, m_previousCLocale.c_str());
}

}  // namespace LocaleHelpers
}  // namespace zu
