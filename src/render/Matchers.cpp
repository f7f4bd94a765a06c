// The inline patterns as hand-written scanners, plus ICU matching for the list patterns.
//
// Each scanner reproduces a leftmost, non-overlapping ICU search of its pattern; writing them
// out keeps rendering linear on pathological input and several times faster than a regex engine.
#include "RendererInternal.h"

#include <unicode/regex.h>

#include <algorithm>
#include <map>
#include <memory>

namespace TarnRender {
namespace {

constexpr std::size_t npos = u16v::npos;

// What ICU's "." refuses to match.
bool isLineTerminator(char16_t c)
{
    return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

// Finds the first occurrence of `c` at or after `from`, remembering the answer so that a
// run of failed attempts scans each stretch of text once, not once per attempt.
class CachedFind
{
public:
    CachedFind(u16v s, char16_t c)
        : m_s(s)
        , m_c(c)
    {}
    std::size_t at(std::size_t from)
    {
        if (m_found == npos && m_from <= from && m_from != npos)
            return npos; // searched this far before and found nothing
        if (m_from == npos || from > m_found || from < m_from) {
            m_from = from;
            m_found = m_s.find(m_c, from);
        }
        return m_found;
    }

private:
    u16v m_s;
    char16_t m_c;
    std::size_t m_from = npos;
    std::size_t m_found = npos;
};

enum class Outcome
{
    matched,
    failedHere,
    failsEverywhereAfter
};

// After `open`: [^\]]+ (or [^\]]*), "]", "(", [^)]+, ")".
Outcome matchBracketsAndAddress(u16v s, std::size_t open, bool textMayBeEmpty,
                                CachedFind &closeBracket, CachedFind &closeParen, Match &match)
{
    const std::size_t close = closeBracket.at(open + 1);
    if (close == npos)
        return Outcome::failsEverywhereAfter;
    if (!textMayBeEmpty && close == open + 1)
        return Outcome::failedHere;
    if (close + 1 >= s.size() || s[close + 1] != u'(')
        return Outcome::failedHere;
    const std::size_t addressEnd = closeParen.at(close + 2);
    if (addressEnd == npos)
        return Outcome::failsEverywhereAfter;
    if (addressEnd == close + 2)
        return Outcome::failedHere;
    match.g1Begin = open + 1;
    match.g1End = close;
    match.g2Begin = close + 2;
    match.g2End = addressEnd;
    match.end = addressEnd + 1;
    return Outcome::matched;
}

std::vector<Match> findBracketed(u16v s, u16v opener, bool textMayBeEmpty,
                                 bool keepTagsWhole = false)
{
    const TagRanges tags = keepTagsWhole ? tagRanges(s) : TagRanges();
    std::vector<Match> matches;
    CachedFind closeBracket(s, u']');
    CachedFind closeParen(s, u')');
    std::size_t from = 0;
    while (true) {
        const std::size_t start = s.find(opener, from);
        if (start == npos)
            break;
        Match match;
        match.begin = start;
        const Outcome outcome = matchBracketsAndAddress(
            s, start + opener.size() - 1, textMayBeEmpty, closeBracket, closeParen, match);
        if (outcome == Outcome::failsEverywhereAfter)
            break;
        // A match whose brackets or parentheses fall inside a tag would split the tag and
        // leave its attribute quotes unbalanced, letting source text become markup.
        const auto splitsTag = [&] {
            return insideTag(tags, match.begin) || insideTag(tags, match.g1End) ||
                   insideTag(tags, match.g2Begin - 1) || insideTag(tags, match.end - 1);
        };
        if (outcome == Outcome::failedHere || (!tags.empty() && splitsTag())) {
            from = start + 1;
            continue;
        }
        matches.push_back(match);
        from = match.end;
    }
    return matches;
}

} // namespace

// Ranges [begin, end) of the tags in `s`: every "<" up to the next ">".
TagRanges tagRanges(u16v s)
{
    TagRanges ranges;
    for (std::size_t at = s.find(u'<'); at != npos; at = s.find(u'<', at)) {
        // Attribute values may hold tags of the emphasis passes; a ">" only ends the tag
        // outside quotes. Every quote inside a tag is one of the renderer's own delimiters.
        bool quoted = false;
        std::size_t i = at + 1;
        for (; i < s.size(); ++i) {
            if (s[i] == u'"')
                quoted = !quoted;
            else if (s[i] == u'>' && !quoted)
                break;
        }
        if (i >= s.size())
            break;
        ranges.emplace_back(at, i + 1);
        at = i + 1;
    }
    return ranges;
}

bool insideTag(const TagRanges &tags, std::size_t at)
{
    auto after = std::upper_bound(tags.begin(), tags.end(), std::make_pair(at, npos));
    return after != tags.begin() && std::prev(after)->second > at;
}

std::vector<Match> findCodeSpans(u16v s)
{
    std::vector<Match> matches;
    std::size_t from = 0;
    while (true) {
        const std::size_t open = s.find(u'`', from);
        if (open == npos)
            break;
        const std::size_t close = s.find(u'`', open + 1);
        if (close == npos)
            break;
        if (close == open + 1) { // "``": no content, try again from the second backtick
            from = close;
            continue;
        }
        matches.push_back({open, close + 1, open + 1, close, 0, 0});
        from = close + 1;
    }
    return matches;
}

std::vector<Match> findImages(u16v s)
{
    return findBracketed(s, u"![", true);
}

std::vector<Match> findLinks(u16v s, bool keepTagsWhole)
{
    return findBracketed(s, u"[", false, keepTagsWhole);
}

std::vector<Match> findPaired(u16v s, char16_t c)
{
    const char16_t pair[] = {c, c};
    const u16v delimiter(pair, 2);
    std::vector<Match> matches;
    std::size_t terminator = 0; // first line terminator at or after the current content
    bool terminatorKnown = false;
    std::size_t from = 0;
    while (true) {
        const std::size_t open = s.find(delimiter, from);
        if (open == npos)
            break;
        const std::size_t contentBegin = open + 2;
        if (!terminatorKnown || terminator < contentBegin) {
            terminator = contentBegin;
            while (terminator < s.size() && !isLineTerminator(s[terminator]))
                ++terminator;
            terminatorKnown = true;
        }
        // Lazy content: the first closing pair after at least one character, on the same line.
        const std::size_t close = s.find(delimiter, contentBegin + 1);
        if (close == npos)
            break; // nothing can close here or after
        if (close > terminator) {
            from = terminator + 1; // every start before the line break fails the same way
            continue;
        }
        matches.push_back({open, close + 2, contentBegin, close, 0, 0});
        from = close + 2;
    }
    return matches;
}

std::vector<Match> findSingle(u16v s, char16_t c)
{
    std::vector<Match> matches;
    std::size_t from = 0;
    while (true) {
        const std::size_t open = s.find(c, from);
        if (open == npos)
            break;
        const std::size_t close = s.find(c, open + 1);
        if (close == npos)
            break;
        const bool precededByDelimiter = open > 0 && s[open - 1] == c;
        const bool followedByDelimiter = close + 1 < s.size() && s[close + 1] == c;
        if (precededByDelimiter || close == open + 1 || followedByDelimiter) {
            from = open + 1;
            continue;
        }
        matches.push_back({open, close + 1, open + 1, close, 0, 0});
        from = close + 1;
    }
    return matches;
}

std::optional<std::vector<u16>> firstMatch(u16v text, u16v pattern)
{
    thread_local std::map<u16, std::unique_ptr<icu::RegexMatcher>, std::less<>> matchers;
    auto found = matchers.find(pattern);
    if (found == matchers.end()) {
        UErrorCode status = U_ZERO_ERROR;
        auto matcher = std::make_unique<icu::RegexMatcher>(
            icu::UnicodeString(pattern.data(), int32_t(pattern.size())), 0, status);
        if (U_FAILURE(status))
            matcher.reset();
        found = matchers.emplace(u16(pattern), std::move(matcher)).first;
    }
    icu::RegexMatcher *matcher = found->second.get();
    if (!matcher)
        return std::nullopt;

    // Read-only alias: the text is not copied.
    const icu::UnicodeString input(false, text.data(), int32_t(text.size()));
    matcher->reset(input);
    UErrorCode status = U_ZERO_ERROR;
    if (!matcher->find(status) || U_FAILURE(status))
        return std::nullopt;
    std::vector<u16> groups;
    for (int32_t group = 0; group <= matcher->groupCount(); ++group) {
        status = U_ZERO_ERROR;
        const int32_t start = matcher->start(group, status);
        const int32_t end = matcher->end(group, status);
        if (U_FAILURE(status) || start < 0)
            groups.emplace_back();
        else
            groups.emplace_back(text.substr(std::size_t(start), std::size_t(end - start)));
    }
    matcher->reset(icu::UnicodeString()); // drop the alias before the text goes away
    return groups;
}

} // namespace TarnRender
