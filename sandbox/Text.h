#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quarnet::sandbox {

enum class Plus { plus, blank };

/// Undoes percent-escapes; one that is not two hexadecimal digits stays as it stands.
std::string percentDecoded(std::string_view text, Plus plus = Plus::plus);
/// Escapes everything but letters, digits and "-_.~" (RFC 3986 section 2.3).
std::string percentEncoded(std::string_view text);

std::string hexEncoded(std::string_view bytes);
/// Absent unless the text is pairs of hexadecimal digits throughout.
std::optional<std::string> hexDecoded(std::string_view text);

/// Absent when the text is not base64 in the alphabet that is safe in addresses (RFC 4648
/// section 5), without padding.
std::optional<std::string> base64UrlDecoded(std::string_view text);

/// Makes text safe between HTML or XML tags and in quoted attributes.
std::string markupEscaped(std::string_view text);

bool isUtf8(std::string_view text);
/// The text; percent-escaped when it is not valid UTF-8 and could not stand in an answer.
std::string presentable(std::string_view text);
bool equalIgnoringCase(std::string_view a, std::string_view b);

} // namespace quarnet::sandbox
