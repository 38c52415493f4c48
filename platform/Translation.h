#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

// The texts that people read, in the user's language: GNU gettext, domain "ostrel". The English text is the key. Texts
// keep their place holders, filled in by the functions below: "%lld" a whole number in the locale's grouping, "%@"
// text; a translation may number them to change their order ("%2$lld"). Safe to use from several threads once started.
namespace ostrel::i18n {

// Takes the locale of the environment and the catalogues below the folder. Once, first thing in main, before other
// threads; without it texts are their keys. What the language's catalogue lacks comes from the English one.
void start(const std::filesystem::path& catalogues);
// The same with the catalogues that belong to the running program: ../share/locale beside the folder it lies in, as in
// an installation and in a build.
void start();

// Returns the text in the user's language.
std::string tr(const char* english);
// Returns the plural form for the number, with the number in place of "%lld". Some languages have more than two forms.
std::string trCount(const char* english, std::uint64_t count);
// Puts whole numbers or texts at the place holders, in order.
std::string filled(const std::string& text, std::uint64_t first, std::uint64_t second);
std::string filled(const std::string& text, std::string_view value);
std::string filled(const std::string& text, std::string_view first, std::string_view second);

}   // namespace ostrel::i18n
