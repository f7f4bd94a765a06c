// Theme data: raw values, names, window colours and page palettes.
#include "TarnTheme.h"

#include <string>

namespace TarnThemes {
namespace {

struct ThemeData
{
    std::string_view raw;
    std::u16string_view displayName;
    TarnColorScheme scheme;
    TarnRGB background;
    TarnRGB sidebar;
    TarnRGB accent;
    std::array<PaletteEntry, 8> palette;
};

constexpr std::array<ThemeData, 4> kThemes{{
    {"businessBlue",
     u"商务浅蓝",
     TarnColorScheme::light,
     {0.97, 0.99, 1.0},
     {0.9, 0.95, 1.0},
     {0.12, 0.35, 0.66},
     {{{u"bg", u"#F7FBFF"},
       {u"text", u"#172033"},
       {u"muted", u"#62748A"},
       {u"panel", u"#FFFFFF"},
       {u"rule", u"#D8E6F5"},
       {u"accent", u"#2563A8"},
       {u"code", u"#EEF6FF"},
       {u"quote", u"#EAF3FF"}}}},
    {"light",
     u"清爽浅色",
     TarnColorScheme::light,
     {0.98, 0.98, 0.97},
     {0.94, 0.94, 0.92},
     {0.22, 0.47, 0.38},
     {{{u"bg", u"#FAFAF8"},
       {u"text", u"#211F1A"},
       {u"muted", u"#6E675D"},
       {u"panel", u"#FFFFFF"},
       {u"rule", u"#DDD8CF"},
       {u"accent", u"#2F6F56"},
       {u"code", u"#F0EEE8"},
       {u"quote", u"#EFF5EF"}}}},
    {"warm",
     u"暖色护眼",
     TarnColorScheme::light,
     {0.98, 0.94, 0.84},
     {0.95, 0.89, 0.76},
     {0.66, 0.36, 0.16},
     {{{u"bg", u"#F8EFD9"},
       {u"text", u"#2B2118"},
       {u"muted", u"#796650"},
       {u"panel", u"#FFF8EA"},
       {u"rule", u"#E3CFA9"},
       {u"accent", u"#9A5527"},
       {u"code", u"#F1DFC2"},
       {u"quote", u"#F5E5C8"}}}},
    {"dark",
     u"深色夜读",
     TarnColorScheme::dark,
     {0.1, 0.11, 0.12},
     {0.14, 0.15, 0.16},
     {0.63, 0.8, 0.64},
     {{{u"bg", u"#191B1C"},
       {u"text", u"#E8E1D4"},
       {u"muted", u"#AAA092"},
       {u"panel", u"#202326"},
       {u"rule", u"#383D40"},
       {u"accent", u"#9FCB9B"},
       {u"code", u"#111314"},
       {u"quote", u"#222B25"}}}},
}};

const ThemeData &data(TarnTheme theme)
{
    return kThemes[static_cast<std::size_t>(theme)];
}

} // namespace

std::string_view rawValue(TarnTheme theme)
{
    return data(theme).raw;
}

std::optional<TarnTheme> fromRawValue(std::string_view raw)
{
    for (TarnTheme theme : allCases) {
        if (data(theme).raw == raw)
            return theme;
    }
    return std::nullopt;
}

std::optional<TarnTheme> fromRawValue(std::u16string_view raw)
{
    std::string ascii;
    for (char16_t c : raw) {
        if (c > 0x7F)
            return std::nullopt;
        ascii.push_back(static_cast<char>(c));
    }
    return fromRawValue(std::string_view(ascii));
}

std::u16string_view displayName(TarnTheme theme)
{
    return data(theme).displayName;
}

TarnColorScheme colorScheme(TarnTheme theme)
{
    return data(theme).scheme;
}

TarnRGB backgroundColor(TarnTheme theme)
{
    return data(theme).background;
}

TarnRGB sidebarColor(TarnTheme theme)
{
    return data(theme).sidebar;
}

TarnRGB accentColor(TarnTheme theme)
{
    return data(theme).accent;
}

const std::array<PaletteEntry, 8> &pagePalette(TarnTheme theme)
{
    return data(theme).palette;
}

} // namespace TarnThemes
