// Full case folding of UTF-16 text with a map back to the original offsets, and the search on it.
#include "CaseFoldedSearch.h"

#include <unicode/uchar.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <array>
#include <memory>

namespace {

// Marks BMP units whose folding is not a single unit (or that are surrogates) in the table.
constexpr char16_t needsFullFolding = 0xFFFF;

// The full folding or lower case of one code point; its length, or 0 when ICU fails.
int32_t mapCase(CaseMatching matching, const UChar *source, int32_t width, UChar *out,
                int32_t capacity)
{
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length =
        matching == CaseMatching::folding
            ? u_strFoldCase(out, capacity, source, width, U_FOLD_CASE_DEFAULT, &status)
            : u_strToLower(out, capacity, source, width, "", &status);
    return U_SUCCESS(status) ? length : 0;
}

// Single-unit mappings of the whole BMP, so that the common case costs one lookup instead of an
// ICU call per character.
template<CaseMatching matching> const std::array<char16_t, 0x10000> &bmpTable()
{
    static const std::unique_ptr<std::array<char16_t, 0x10000>> table = [] {
        auto result = std::make_unique<std::array<char16_t, 0x10000>>();
        for (char32_t c = 0; c < 0x10000; ++c) {
            char16_t &slot = (*result)[c];
            slot = needsFullFolding;
            if (U16_IS_SURROGATE(c) || c == needsFullFolding)
                continue;
            const UChar source = UChar(c);
            UChar mapped[4];
            if (mapCase(matching, &source, 1, mapped, 4) == 1)
                slot = mapped[0];
        }
        return result;
    }();
    return *table;
}

} // namespace

void foldText(QStringView text, int from, int to, FoldedText &out, CaseMatching matching)
{
    const auto &table = matching == CaseMatching::folding ? bmpTable<CaseMatching::folding>()
                                                          : bmpTable<CaseMatching::lowerCase>();
    const char16_t *units = text.utf16();
    out.units.clear();
    out.sources.clear();
    out.units.reserve(size_t(to - from));
    out.sources.reserve(size_t(to - from) + 1);
    for (int i = from; i < to;) {
        const char16_t unit = units[i];
        const char16_t single = table[unit];
        if (single != needsFullFolding) {
            out.units.push_back(single);
            out.sources.push_back(i);
            ++i;
            continue;
        }
        int width = 1;
        if (U16_IS_LEAD(unit) && i + 1 < to && U16_IS_TRAIL(units[i + 1]))
            width = 2;
        UChar folded[8];
        const int32_t length = mapCase(matching, units + i, width, folded, 8);
        if (length > 0) {
            for (int32_t k = 0; k < length; ++k) {
                out.units.push_back(folded[k]);
                out.sources.push_back(i);
            }
        } else {
            for (int k = 0; k < width; ++k) {
                out.units.push_back(units[i + k]);
                out.sources.push_back(i);
            }
        }
        i += width;
    }
    out.sources.push_back(to);
}

CaseFoldedSearch::CaseFoldedSearch(QStringView query, CaseMatching matching)
    : m_matching(matching)
{
    FoldedText folded;
    foldText(query, 0, int(query.size()), folded, matching);
    m_folded = std::move(folded.units);
}

qsizetype CaseFoldedSearch::nextCandidate(const FoldedText &folded, qsizetype at) const
{
    const std::u16string_view haystack(folded.units);
    const qsizetype queryLength = qsizetype(m_folded.size());
    const auto &sources = folded.sources;
    for (;;) {
        const size_t hit = haystack.find(m_folded, size_t(at));
        if (hit == std::u16string_view::npos)
            return -1;
        // A match has to cover whole foldings: "s" must not match half of the "ss" that "ß"
        // folds to.
        const bool startsWhole = hit == 0 || sources[hit] != sources[hit - 1];
        const size_t end = hit + size_t(queryLength);
        const bool endsWhole = sources[end] != sources[end - 1];
        if (startsWhole && endsWhole)
            return qsizetype(hit);
        at = qsizetype(hit) + 1;
    }
}

QList<EditorRange> CaseFoldedSearch::findAll(QStringView text) const
{
    QList<EditorRange> matches;
    const int length = int(text.size());
    scan(text, 0, length, length, [&](EditorRange range) {
        matches.append(range);
        return true;
    });
    return matches;
}
