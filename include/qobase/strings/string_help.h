// StringHelp text operations: splitting, joining, trimming, filtering, comparing, searching,
// escaping, UTF-8 <-> wide conversion and the localisation hooks. Every function works on 8-bit
// strings holding UTF-8 unless it says otherwise.
#pragma once

#include <qobase/strings/std_str.h>

#include <cstddef>
#include <string>
#include <vector>

namespace StringHelp {

// Characters whose glyph a platform may supply; this platform supplies none.
enum SpecialChar : unsigned int {
  k_specialCharEllipsis = 0,
  k_specialCharBullet = 1,
  k_specialCharDegree = 2,
};

// Always 0 here: no platform glyph is known for any special character.
wchar_t GetSpecialCharacter(SpecialChar which);

// The hook where a translation would go: returns the text unchanged (null gives "").
CStdStr Localize(const char* text);
// The printf-style result of `format`, untranslated.
CStdStr LocalizeFmt(const char* format, ...) __attribute__((format(printf, 1, 2)));
// Message catalogues do not exist on this platform: always the empty string.
CStdStr LocalizeMsg(const char* format, ...) __attribute__((format(printf, 1, 2)));

// The C string as a CStdStr (null gives "").
CStdStr StringFromBuffer(const char* text);
// The wide C string converted with the global locale, as CStdStr's wide assignment does.
CStdStr StringFromBuffer(const wchar_t* text);

// Copies the text and a terminating zero when the text is shorter than `capacity`, returning its
// length. Returns 0 and copies nothing when `destination` is null or the text does not fit:
// "abc" into a capacity of 3 gives 0, into 4 gives 3.
size_t CopyAsUTF8(const char* text, char* destination, size_t capacity);
size_t CopyAsUTF8(const CStdStr& text, char* destination, size_t capacity);

// Converts `length` wide characters (negative: up to the terminating zero) to UTF-8 and copies
// at most capacity - 1 bytes and a terminating zero; returns the bytes copied. Returns 0 for a
// null pointer, a capacity below 1, or text that is not valid Unicode (a surrogate or a value
// above U+10FFFF), in which case nothing is written.
int WCharToUTF8(const wchar_t* wide, int length, char* destination, int capacity);
// Converts `length` bytes of UTF-8 (negative: up to the terminating zero) to wide characters and
// copies at most capacity - 1 of them and a terminating zero; returns the characters copied.
// Returns 0 for a null pointer, a capacity below 1, or invalid UTF-8 (a bad lead or continuation
// byte, a truncated, overlong or surrogate sequence, a value above U+10FFFF).
int UTF8ToWChar(const char* text, int length, wchar_t* destination, int capacity);

// `output` becomes the items joined by `separator` (empty for no items).
void VectorToString(const std::vector<CStdStr>& items, CStdStr& output, const CStdStr& separator);

// Empties `pieces`, then fills it with the pieces between separators, as a line reader reads
// lines: adjacent separators and a leading one give empty pieces, a final one adds none.
// "a..b" gives "a", "", "b"; ".5" gives "", "5"; "5." gives "5"; "" gives nothing.
// The CStdStr form reads the text up to its first zero byte.
void SplitString(const CStdStr& text, char separator, std::vector<CStdStr>& pieces);
void SplitString(const std::string& text, char separator, std::vector<std::string>& pieces);
void SplitString(const std::wstring& text, wchar_t separator, std::vector<std::wstring>& pieces);

// Empties `words`, then fills it with the words of the text, lowered with the user's locale.
// Words are runs of ASCII letters and digits, also split where an upper-case letter follows a
// lower-case one; leading separators are skipped. With `combine`, each run of such camel-case
// words is also pushed joined, after its last word:
// "myFileName" gives "my", "file", "name" (+ "myfilename"); "file2Name" gives "file2name".
void SplitWords(const CStdStr& text, std::vector<CStdStr>& words, bool combine);

// Removes from both ends every character that belongs to `characters`; a string made only of
// them becomes empty. "xxaxx" with "x" gives "a".
void Trim(std::string& text, const std::string& characters);
void Trim(std::wstring& text, const std::wstring& characters);

// Removes every character that belongs to `characters`, wherever it stands.
void Remove(std::string& text, const std::string& characters);
void Remove(std::wstring& text, const std::wstring& characters);

// Lowers every character in place with the C library's tolower / towlower.
void ToLower(std::string& text);
void ToLower(std::wstring& text);

// Removes every character with a code from 1 to 31 (tab, line feed, carriage return
// included), in place; returns `text`.
CStdStr& RemoveControlCharacters(CStdStr& text);

// The text before the last "_" when everything after it is ASCII digits or nothing; otherwise
// the text unchanged. "Voice_12" and "Voice_" give "Voice"; "Voice_A1" stays.
CStdStr RemoveUnderscoreDigitAtTheEnd(const CStdStr& text);

// True when both texts are equal after removing every blank and lowering ASCII letters.
// A null pointer counts as the empty text.
bool CompareTextOnly(const char* first, const char* second);

// True when `part` occurs in `text`, comparing characters upper-cased with the user's locale.
// An empty part is found in any non-empty text; nothing is found in the empty text.
bool CaseInsensitiveSearch(const CStdStr& text, const CStdStr& part);

// True when the whole text matches the whole pattern. Both end at a zero byte or at
// `terminator`. "*" matches any run of characters (the empty one included), even where the
// text holds a "*" itself; every other character matches itself, ASCII letters folded when
// `caseSensitive` is false. A null text or pattern matches nothing.
// "Report.WAV" against "*.wav" is true without case sensitivity; "abc" against "a*d" is false.
bool WildcardTextCompare(const char* text, const char* pattern, bool caseSensitive,
                         char terminator = '\0');

// The text with "&", "<", ">", "'" and '"' written as XML entities:
// "a<'b'>&" gives "a&lt;&apos;b&apos;&gt;&amp;".
CStdStr XmlEscape(CStdStr text);

}  // namespace StringHelp
