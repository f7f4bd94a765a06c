// Which addresses the sanitizer keeps in href, src and srcset.
#include "SafeAddress.h"

#include <string>

namespace TarnGfm {

char asciiLower(char c)
{
    return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c;
}

bool startsWithNoCase(std::string_view text, std::string_view prefix)
{
    if (text.size() < prefix.size())
        return false;
    for (std::size_t i = 0; i < prefix.size(); ++i) {
        if (asciiLower(text[i]) != prefix[i])
            return false;
    }
    return true;
}

namespace {

// Browsers delete tabs and line breaks anywhere in an address and controls and spaces before
// it, so the scheme is read the way they read it.
std::string cleanedAddress(std::string_view address)
{
    std::string cleaned;
    for (const char c : address) {
        if (c == '\t' || c == '\n' || c == '\r')
            continue;
        if (cleaned.empty() && static_cast<unsigned char>(c) <= 0x20)
            continue;
        cleaned.push_back(c);
    }
    return cleaned;
}

} // namespace

bool isSafeAddress(std::string_view address, bool image)
{
    const std::string cleaned = cleanedAddress(address);
    std::size_t colon = 0;
    for (; colon < cleaned.size(); ++colon) {
        const char c = cleaned[colon];
        const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        const bool schemeChar =
            letter || (colon > 0 && ((c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.'));
        if (!schemeChar)
            break;
    }
    if (colon == 0 || colon == cleaned.size() || cleaned[colon] != ':')
        return true; // relative: a path, a query or a '#' place in this page
    const std::string_view withScheme(cleaned);
    if (startsWithNoCase(withScheme, "http:") || startsWithNoCase(withScheme, "https:") ||
        startsWithNoCase(withScheme, "mailto:"))
        return true;
    if (!image)
        return false;
    for (const std::string_view type :
         {"data:image/png;", "data:image/gif;", "data:image/jpeg;", "data:image/webp;"}) {
        if (startsWithNoCase(withScheme, type))
            return true;
    }
    return false;
}

// Every candidate of a srcset list; data: addresses hold commas, so they are not taken here.
bool isSafeSourceSet(std::string_view list)
{
    while (!list.empty()) {
        const std::size_t comma = list.find(',');
        std::string_view candidate = list.substr(0, comma);
        while (!candidate.empty() && static_cast<unsigned char>(candidate.front()) <= 0x20)
            candidate.remove_prefix(1);
        const std::size_t space = candidate.find_first_of(" \t\n\r\f");
        const std::string_view address = candidate.substr(0, space);
        if (startsWithNoCase(cleanedAddress(address), "data:") || !isSafeAddress(address, true))
            return false;
        if (comma == std::string_view::npos)
            break;
        list.remove_prefix(comma + 1);
    }
    return true;
}

} // namespace TarnGfm
