// The four reading themes: page palette names, window colours and light/dark appearance.
#pragma once

#include <array>
#include <optional>
#include <string_view>

enum class TarnTheme
{
    businessBlue,
    light,
    warm,
    dark
};

enum class TarnColorScheme
{
    light,
    dark
};

// sRGB components in 0...1, opacity 1.
struct TarnRGB
{
    double red;
    double green;
    double blue;
    friend bool operator==(const TarnRGB &, const TarnRGB &) = default;
};

namespace TarnThemes {

// Declaration order; also the order of theme pickers.
inline constexpr std::array<TarnTheme, 4> allCases{TarnTheme::businessBlue, TarnTheme::light,
                                                   TarnTheme::warm, TarnTheme::dark};

std::string_view rawValue(TarnTheme theme);
// Accepts exactly the four raw values, case-sensitively.
std::optional<TarnTheme> fromRawValue(std::string_view raw);
std::optional<TarnTheme> fromRawValue(std::u16string_view raw);

std::u16string_view displayName(TarnTheme theme);
TarnColorScheme colorScheme(TarnTheme theme);
TarnRGB backgroundColor(TarnTheme theme);
TarnRGB sidebarColor(TarnTheme theme);
TarnRGB accentColor(TarnTheme theme);

// The eight page stylesheet variables (--bg, --text, ...), in stylesheet order.
struct PaletteEntry
{
    std::u16string_view name;
    std::u16string_view value;
};
const std::array<PaletteEntry, 8> &pagePalette(TarnTheme theme);

} // namespace TarnThemes
