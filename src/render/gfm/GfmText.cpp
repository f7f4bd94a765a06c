// Escaping helpers of the standard flavour.
#include "GfmText.h"

#include <array>

namespace TarnGfm {

void appendEscaped(std::string &out, std::string_view text)
{
    std::size_t copied = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const char *entity = c == '&'   ? "&amp;"
                             : c == '<' ? "&lt;"
                             : c == '>' ? "&gt;"
                             : c == '"' ? "&quot;"
                                        : nullptr;
        if (!entity)
            continue;
        out.append(text.substr(copied, i - copied));
        out.append(entity);
        copied = i + 1;
    }
    out.append(text.substr(copied));
}

namespace {

constexpr std::array<bool, 128> hrefSafe()
{
    std::array<bool, 128> safe{};
    for (char c = '0'; c <= '9'; ++c)
        safe[std::size_t(c)] = true;
    for (char c = 'a'; c <= 'z'; ++c)
        safe[std::size_t(c)] = safe[std::size_t(c - 'a' + 'A')] = true;
    for (char c : std::string_view("-_.+!*(),%#@?=;:/$~&'"))
        safe[std::size_t(c)] = true;
    return safe;
}

bool startsWithFolded(std::string_view s, std::string_view lowerPrefix)
{
    if (s.size() < lowerPrefix.size())
        return false;
    for (std::size_t i = 0; i < lowerPrefix.size(); ++i) {
        char c = s[i];
        if (c >= 'A' && c <= 'Z')
            c = char(c - 'A' + 'a');
        if (c != lowerPrefix[i])
            return false;
    }
    return true;
}

} // namespace

void appendEscapedHref(std::string &out, std::string_view url)
{
    static constexpr std::array<bool, 128> safe = hrefSafe();
    static constexpr char hex[] = "0123456789ABCDEF";
    for (const char c : url) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '&') {
            out.append("&amp;");
        } else if (c == '\'') {
            out.append("&#x27;");
        } else if (byte < 128 && safe[byte]) {
            out.push_back(c);
        } else {
            out.push_back('%');
            out.push_back(hex[byte >> 4]);
            out.push_back(hex[byte & 15]);
        }
    }
}

bool isDangerousUrl(std::string_view url)
{
    if (startsWithFolded(url, "data:image/")) {
        const std::string_view type = url.substr(11);
        for (std::string_view raster : {"png", "gif", "jpeg", "webp"}) {
            if (startsWithFolded(type, raster))
                return false;
        }
    }
    for (std::string_view scheme : {"javascript:", "vbscript:", "file:", "data:"}) {
        if (startsWithFolded(url, scheme))
            return true;
    }
    return false;
}

} // namespace TarnGfm
