// Which addresses the sanitizer keeps: http, https, mailto and relative ones (a path, a query,
// a '#' place), read the way browsers read them; for images also raster data: addresses.
#pragma once

#include <string_view>

namespace TarnGfm {

char asciiLower(char c);
// `text` starts with the lower-case ASCII `prefix`, in any case.
bool startsWithNoCase(std::string_view text, std::string_view prefix);

bool isSafeAddress(std::string_view address, bool image);
// Every candidate of an img or source srcset list is safe (data: addresses are not taken).
bool isSafeSourceSet(std::string_view list);

} // namespace TarnGfm
