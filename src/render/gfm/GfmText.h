// Escaping for the standard flavour's HTML, which is written as UTF-8 like cmark-gfm's own.
#pragma once

#include <string>
#include <string_view>

namespace TarnGfm {

// Text and attribute values: "&", "<", ">" and '"' become entities.
void appendEscaped(std::string &out, std::string_view text);
// A link or image address as cmark-gfm writes it: bytes outside its safe set percent-encoded,
// "&" and "'" as entities.
void appendEscapedHref(std::string &out, std::string_view url);
// javascript:, vbscript:, file: and data: other than raster images, in any case.
bool isDangerousUrl(std::string_view url);

} // namespace TarnGfm
