#pragma once

#include <string>
#include <string_view>

namespace ostrel::pdf {

// A text as it is compared: characters apart from their marks, without case, blanks and what is not seen. Brackets all
// face the same way.
std::u16string comparable(std::u16string text);
std::u16string comparable(std::string_view text);   // UTF-8
// The same with its blanks, each as U+0020.
std::u16string comparableWithBlanks(std::string_view text);   // UTF-8

}   // namespace ostrel::pdf
