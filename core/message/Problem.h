#pragma once

// What was found amiss in a message, as codes; the page turns them into words.
namespace ostrel::problem {

inline constexpr const char* multipartWithoutParts = "multipart-without-parts";
inline constexpr const char* attachmentMissing = "attachment-missing";
inline constexpr const char* truncated = "truncated";
inline constexpr const char* tooManyParts = "too-many-parts";           // or fields, or parameters of fields
inline constexpr const char* tooManyAddresses = "too-many-addresses";   // or identifiers, in one field

}   // namespace ostrel::problem
