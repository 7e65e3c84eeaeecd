// Text-level helpers shared by the path value and the directory walks, which work on the raw
// strings of the path library's iterators without building a zu::Path per entry.
#pragma once

#include <string>

namespace zu {
namespace detail {

// Collapses runs of '/' and drops trailing ones, keeping one leading '/' unless the text starts
// with a network root name ("//host"). A text with no component is left unchanged. Returns true
// when the text changed.
bool CollapseSeparators(std::string& text);

}  // namespace detail
}  // namespace zu
