// Decoding with a strict UTF-8 pass and ICU charset detection as the fallback.
#include "TextFileReader.h"

#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

#include <unicode/ucnv.h>
#include <unicode/ucsdet.h>

#include <memory>
#include <optional>

namespace TextFileReader {
namespace {

QString unreadableEncodingError(const QString &fileName)
{
    return QStringLiteral("无法打开文件“%1”，因为无法确定其内容的文本编码。").arg(fileName);
}

// Text that decodes but holds NULs or many control characters is a binary file, not a document.
bool looksLikeText(const QString &text)
{
    qsizetype controls = 0;
    for (QChar c : text) {
        const char16_t u = c.unicode();
        if (u == 0)
            return false;
        if (u < 0x20 && u != '\n' && u != '\r' && u != '\t' && u != '\f' && u != 0x1B)
            ++controls;
    }
    return controls * 100 <= text.size(); // at most 1 %
}

std::optional<QString> decodeStrict(const QByteArray &bytes, QStringConverter::Encoding encoding)
{
    QStringDecoder decoder(encoding, QStringDecoder::Flag::Stateless);
    QString text = decoder.decode(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

std::optional<QString> decodeWithIcu(const QByteArray &bytes, const char *charset)
{
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<UConverter, decltype(&ucnv_close)> converter(ucnv_open(charset, &status),
                                                                 ucnv_close);
    if (U_FAILURE(status))
        return std::nullopt;
    // Stop at the first invalid sequence instead of inventing characters.
    ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                        &status);
    QString text(bytes.size() * 2 + 2, Qt::Uninitialized);
    const int32_t length =
        ucnv_toUChars(converter.get(), reinterpret_cast<UChar *>(text.data()), int32_t(text.size()),
                      bytes.constData(), int32_t(bytes.size()), &status);
    if (U_FAILURE(status))
        return std::nullopt;
    text.truncate(length);
    return text;
}

struct Detected
{
    QString text;
    QString encoding;
};

std::optional<Detected> detect(const QByteArray &bytes)
{
    // A byte-order mark decides the question before any guessing; a UTF-8 one was tried by the
    // caller, and text that failed there is left to the detector as before.
    const auto marked = QStringConverter::encodingForData(bytes);
    if (marked && *marked != QStringConverter::Utf8) {
        if (auto text = decodeStrict(bytes, *marked))
            return Detected{*text, QString::fromLatin1(QStringConverter::nameForEncoding(*marked))};
        return std::nullopt;
    }

    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<UCharsetDetector, decltype(&ucsdet_close)> detector(ucsdet_open(&status),
                                                                        ucsdet_close);
    if (U_FAILURE(status))
        return std::nullopt;
    ucsdet_setText(detector.get(), bytes.constData(), int32_t(bytes.size()), &status);
    int32_t count = 0;
    const UCharsetMatch **matches = ucsdet_detectAll(detector.get(), &count, &status);
    if (U_FAILURE(status))
        return std::nullopt;
    // Candidates come best first; take the first that really decodes.
    for (int32_t i = 0; i < count; ++i) {
        UErrorCode nameStatus = U_ZERO_ERROR;
        const char *name = ucsdet_getName(matches[i], &nameStatus);
        if (U_FAILURE(nameStatus) || !name)
            continue;
        if (auto text = decodeWithIcu(bytes, name))
            return Detected{*text, QString::fromLatin1(name)};
    }
    return std::nullopt;
}

} // namespace

TextFileReadResult decode(const QByteArray &bytes, const QString &fileName)
{
    TextFileReadResult result;
    if (auto text = decodeStrict(bytes, QStringConverter::Utf8)) {
        if (text->startsWith(QChar(0xFEFF)))
            text->remove(0, 1);
        if (looksLikeText(*text)) {
            result.ok = true;
            result.text = *text;
            result.encoding = QStringLiteral("UTF-8");
            return result;
        }
    }
    if (auto detected = detect(bytes); detected && looksLikeText(detected->text)) {
        result.ok = true;
        result.text = detected->text;
        result.encoding = detected->encoding;
        return result;
    }
    result.errorString = unreadableEncodingError(fileName);
    return result;
}

TextFileReadResult read(const QString &path)
{
    const QFileInfo info(path);
    TextFileReadResult result;
    if (!info.exists()) {
        result.errorString = QStringLiteral("文件“%1”不存在。").arg(info.fileName());
        return result;
    }
    if (info.isDir()) {
        result.errorString = QStringLiteral("“%1”是文件夹，不是文本文件。").arg(info.fileName());
        return result;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        result.errorString =
            QStringLiteral("无法打开文件“%1”：%2").arg(info.fileName(), file.errorString());
        return result;
    }
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        result.errorString =
            QStringLiteral("无法读取文件“%1”：%2").arg(info.fileName(), file.errorString());
        return result;
    }
    return decode(bytes, info.fileName());
}

} // namespace TextFileReader
