// Counting with ICU's word and grapheme break iterators.
#include "TextCounts.h"

#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/uscript.h>
#include <unicode/utext.h>
#include <unicode/utf16.h>

#include <memory>

namespace {

bool isCjkWordCharacter(UChar32 c)
{
    // Hangul jamo at U+1100 is the first of these scripts' letters.
    if (c < 0x1100 || !u_hasBinaryProperty(c, UCHAR_ALPHABETIC))
        return false;
    // Script extensions, so the prolonged sound mark "ー" counts as the kana it extends.
    return uscript_hasScript(c, USCRIPT_HAN) || uscript_hasScript(c, USCRIPT_HIRAGANA) ||
           uscript_hasScript(c, USCRIPT_KATAKANA) || uscript_hasScript(c, USCRIPT_HANGUL);
}

bool isLetterOrDigit(UChar32 c)
{
    return u_hasBinaryProperty(c, UCHAR_ALPHABETIC) || u_isdigit(c);
}

// A break iterator of the root locale over `text`, or null if ICU cannot make one.
std::unique_ptr<icu::BreakIterator> iteratorOver(QStringView text, bool words, UText *&utext)
{
    UErrorCode status = U_ZERO_ERROR;
    utext = utext_openUChars(nullptr, reinterpret_cast<const UChar *>(text.utf16()), text.size(),
                             &status);
    std::unique_ptr<icu::BreakIterator> iterator(
        words ? icu::BreakIterator::createWordInstance(icu::Locale::getRoot(), status)
              : icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status) || !iterator)
        return nullptr;
    iterator->setText(utext, status);
    return U_SUCCESS(status) ? std::move(iterator) : nullptr;
}

struct UTextCloser
{
    UText *text = nullptr;
    ~UTextCloser() { utext_close(text); }
};

// Words of a stretch without CJK word characters: the break iterator's segments that hold a
// letter or a digit.
qsizetype otherWords(icu::BreakIterator &iterator, UText *&utext, const UChar *units,
                     int32_t length)
{
    if (length <= 0)
        return 0;
    UErrorCode status = U_ZERO_ERROR;
    utext = utext_openUChars(utext, units, length, &status);
    iterator.setText(utext, status);
    if (U_FAILURE(status))
        return 0;
    qsizetype count = 0;
    for (int32_t start = iterator.first(), end = iterator.next(); end != icu::BreakIterator::DONE;
         start = end, end = iterator.next()) {
        for (int32_t i = start; i < end;) {
            UChar32 point;
            U16_NEXT(units, i, end, point);
            if (isLetterOrDigit(point)) {
                ++count;
                break;
            }
        }
    }
    return count;
}

} // namespace

qsizetype TextCounting::words(QStringView text)
{
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> iterator(
        icu::BreakIterator::createWordInstance(icu::Locale::getRoot(), status));
    if (U_FAILURE(status) || !iterator)
        return 0;
    // Ideographs, kana and hangul are counted one by one here, and only the stretches between
    // them go to the break iterator: its dictionary segmentation of Chinese and Japanese would
    // only be thrown away.
    UTextCloser utext;
    const auto *units = reinterpret_cast<const UChar *>(text.utf16());
    const auto length = int32_t(text.size());
    qsizetype count = 0;
    int32_t stretch = 0;
    for (int32_t i = 0; i < length;) {
        const int32_t at = i;
        UChar32 point;
        U16_NEXT(units, i, length, point);
        if (isCjkWordCharacter(point)) {
            count += 1 + otherWords(*iterator, utext.text, units + stretch, at - stretch);
            stretch = i;
        }
    }
    return count + otherWords(*iterator, utext.text, units + stretch, length - stretch);
}

qsizetype TextCounting::characters(QStringView text)
{
    UTextCloser utext;
    const auto iterator = iteratorOver(text, false, utext.text);
    if (!iterator)
        return 0;
    qsizetype count = 0;
    for (int32_t start = iterator->first(), end = iterator->next(); end != icu::BreakIterator::DONE;
         start = end, end = iterator->next()) {
        UChar32 first;
        int32_t at = start;
        U16_NEXT(reinterpret_cast<const UChar *>(text.utf16()), at, end, first);
        if (!u_isUWhiteSpace(first))
            ++count;
    }
    return count;
}

qsizetype TextCounting::lines(QStringView text)
{
    return text.isEmpty() ? 0 : text.count(u'\n') + 1;
}

TextCounts TextCounting::count(QStringView text)
{
    return {words(text), characters(text), lines(text)};
}

QString TextCounting::statusText(const TextCounts &counts, qsizetype selectedWords)
{
    QString text = QStringLiteral("%1 字 · %2 字符 · %3 行")
                       .arg(counts.words)
                       .arg(counts.characters)
                       .arg(counts.lines);
    if (selectedWords >= 0)
        text += QStringLiteral(" · 已选 %1 字").arg(selectedWords);
    return text;
}
