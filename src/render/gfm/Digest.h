// SHA-256 and Base64 for the page's Content-Security-Policy hashes and inlined fonts.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace TarnGfm {

std::array<std::uint8_t, 32> sha256(std::string_view bytes);
std::string base64(std::string_view bytes);

} // namespace TarnGfm
