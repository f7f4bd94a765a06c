// The command line run as a real process: conversions, batches, standard input, bad input.
#include "MarkdownRenderer.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <unicode/ucnv.h>

namespace {

struct Run
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

QByteArray encode(const QString &text, const char *charset)
{
    UErrorCode status = U_ZERO_ERROR;
    UConverter *converter = ucnv_open(charset, &status);
    QByteArray bytes(text.size() * 4 + 16, '\0');
    const int32_t length = ucnv_fromUChars(converter, bytes.data(), int32_t(bytes.size()),
                                           reinterpret_cast<const UChar *>(text.utf16()),
                                           int32_t(text.size()), &status);
    ucnv_close(converter);
    if (U_FAILURE(status))
        return {};
    bytes.truncate(length);
    return bytes;
}

QString pageFor(const QString &markdown, TarnTheme theme, const QString &title)
{
    const auto page =
        MarkdownRenderer::render(markdown.toStdU16String(), theme, title.toStdU16String());
    return QString::fromStdU16String(page.html);
}

class CommandLineTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void usageAndVersion_data();
    void usageAndVersion();
    void exportNextToInput();
    void exportToStandardOutput();
    void standardInput();
    void batchIntoFolder();
    void batchNameClash();
    void badFilesDoNotStopTheBatch();
    void encodings_data();
    void encodings();
    void outlineJson();
    void missingDiagramLibrary();

private:
    Run run(const QStringList &arguments, const QByteArray &input = {},
            const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment());
    QString write(const QString &name, const QByteArray &bytes);
    QByteArray read(const QString &name);

    std::unique_ptr<QTemporaryDir> m_dir;
};

void CommandLineTest::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

Run CommandLineTest::run(const QStringList &arguments, const QByteArray &input,
                         const QProcessEnvironment &environment)
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(m_dir->path());
    process.start(QStringLiteral(TARN_BINARY), arguments);
    process.write(input);
    process.closeWriteChannel();
    Run result;
    if (!process.waitForFinished(60000))
        return result;
    result.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -2;
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
}

QString CommandLineTest::write(const QString &name, const QByteArray &bytes)
{
    const QString path = m_dir->filePath(name);
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
    return path;
}

QByteArray CommandLineTest::read(const QString &name)
{
    QFile file(m_dir->filePath(name));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

void CommandLineTest::usageAndVersion_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("outContains");
    QTest::addColumn<QString>("errContains");

    QTest::newRow("help") << QStringList{"--help"} << 0 << "--export html|pdf"
                          << "";
    QTest::newRow("version") << QStringList{"--version"} << 0 << "tarn 0."
                             << "";
    QTest::newRow("unknown theme")
        << QStringList{"--export", "html", "--theme", "Dark", "a.md"} << 2 << ""
        << "valid themes: businessBlue, light, warm, dark";
    QTest::newRow("unknown format") << QStringList{"--export", "docx", "a.md"} << 2 << ""
                                    << "unknown export format";
    QTest::newRow("no file") << QStringList{"--export", "html"} << 2 << ""
                             << "no input file";
    QTest::newRow("unknown option") << QStringList{"--frobnicate"} << 2 << ""
                                    << "--frobnicate";
    QTest::newRow("theme without export")
        << QStringList{"--outline", "--theme", "dark", "a.md"} << 2 << ""
        << "--theme goes with --export";
    QTest::newRow("stdin twice") << QStringList{"--outline", "-", "-"} << 2 << ""
                                 << "only once";
}

void CommandLineTest::usageAndVersion()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, exitCode);
    QFETCH(QString, outContains);
    QFETCH(QString, errContains);
    const Run result = run(arguments);
    QCOMPARE(result.exitCode, exitCode);
    QVERIFY2(QString::fromUtf8(result.out).contains(outContains), result.out.constData());
    QVERIFY2(QString::fromUtf8(result.err).contains(errContains), result.err.constData());
}

void CommandLineTest::exportNextToInput()
{
    const QString markdown = QStringLiteral("# 标题\n\nSome *text*.\n");
    write(QStringLiteral("notes/guide.md.md"), markdown.toUtf8());
    const Run result = run({"--export", "html", "--theme", "warm", "notes/guide.md.md"});
    QCOMPARE(result.exitCode, 0);
    QVERIFY(result.out.isEmpty());
    // The title is the display title: every Markdown extension stripped.
    QCOMPARE(QString::fromUtf8(read(QStringLiteral("notes/guide.md.html"))),
             pageFor(markdown, TarnTheme::warm, QStringLiteral("guide")));
}

void CommandLineTest::exportToStandardOutput()
{
    write(QStringLiteral("a.md"), "x");
    const Run result = run({"--export=html", "--title", "T <1>", "--output", "-", "a.md"});
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(QString::fromUtf8(result.out),
             pageFor(QStringLiteral("x"), TarnTheme::businessBlue, QStringLiteral("T <1>")));
}

void CommandLineTest::standardInput()
{
    const Run result = run({"--export", "html", "-"}, "# From stdin\n");
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(
        QString::fromUtf8(result.out),
        pageFor(QStringLiteral("# From stdin\n"), TarnTheme::businessBlue, QStringLiteral("Tarn")));
}

void CommandLineTest::batchIntoFolder()
{
    write(QStringLiteral("a.md"), "# A");
    write(QStringLiteral("sub/b.markdown"), "# B");
    const Run result = run({"--export", "html", "--output", "out/html", "a.md", "sub/b.markdown"});
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(QString::fromUtf8(read(QStringLiteral("out/html/a.html"))),
             pageFor(QStringLiteral("# A"), TarnTheme::businessBlue, QStringLiteral("a")));
    QCOMPARE(QString::fromUtf8(read(QStringLiteral("out/html/b.html"))),
             pageFor(QStringLiteral("# B"), TarnTheme::businessBlue, QStringLiteral("b")));
}

void CommandLineTest::batchNameClash()
{
    write(QStringLiteral("x/n.md"), "1");
    write(QStringLiteral("y/n.md"), "2");
    const Run result = run({"--export", "html", "--output", "out", "x/n.md", "y/n.md"});
    QCOMPARE(result.exitCode, 1);
    QVERIFY(result.err.contains("both be written"));
    QVERIFY(!QFile::exists(m_dir->filePath(QStringLiteral("out/n.html"))));
}

void CommandLineTest::badFilesDoNotStopTheBatch()
{
    write(QStringLiteral("good.md"), "# Good");
    write(QStringLiteral("binary.md"), QByteArray("\x00\x01\x02\xff\xfe\x00garbage", 13));
    QDir(m_dir->path()).mkdir(QStringLiteral("folder.md"));
    const Run result = run(
        {"--export", "html", "--output", "out", "missing.md", "binary.md", "folder.md", "good.md"});
    QCOMPARE(result.exitCode, 1);
    const QString err = QString::fromUtf8(result.err);
    QVERIFY2(err.contains(QStringLiteral("missing.md: ")), qPrintable(err));
    QVERIFY2(err.contains(QStringLiteral("binary.md: ")), qPrintable(err));
    QVERIFY2(err.contains(QStringLiteral("folder.md: ")), qPrintable(err));
    QVERIFY(read(QStringLiteral("out/good.html")).contains("<h1 id=\"good\">Good</h1>"));
    QVERIFY(!QFile::exists(m_dir->filePath(QStringLiteral("out/binary.html"))));

    // An output that cannot be written is reported too.
    write(QStringLiteral("blocker"), "a file, not a folder");
    const Run blocked = run({"--export", "html", "--output", "blocker/x.html", "good.md"});
    QCOMPARE(blocked.exitCode, 1);
    QVERIFY(blocked.err.contains("cannot write"));
}

void CommandLineTest::encodings_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("title");

    const QString chinese = QStringLiteral("中文标题：阅读笔记");
    const QString chineseBody =
        QStringLiteral("这是一个用于测试编码识别的段落。我们在这里写下足够多的中文文字，"
                       "让字符集检测器能够可靠地判断文件所使用的编码方式，而不是随便猜测。");
    const QString traditional = QStringLiteral("繁體中文標題：閱讀筆記");
    const QString traditionalBody =
        QStringLiteral("這是一個用於測試編碼識別的段落。我們在這裡寫下足夠多的中文文字，"
                       "讓字元集檢測器能夠可靠地判斷檔案所使用的編碼方式，而不是隨便猜測。");
    const QString japanese = QStringLiteral("日本語の見出し：読書メモ");
    const QString japaneseBody = QStringLiteral(
        "これは文字コードの判定を試すための段落です。ここには十分な量の日本語の文章を書いて、"
        "文字セット検出器がファイルの符号化方式を確実に判断できるようにしています。");
    const QString latin = QStringLiteral("Élève à la crème brûlée");
    const QString latinBody = QStringLiteral(
        "Ce paragraphe français sert à vérifier la détection de l'encodage : "
        "les caractères accentués comme é, è, à, ç et ô doivent être lus correctement.");

    auto document = [](const QString &heading, const QString &body) {
        return QStringLiteral("# %1\n\n%2\n\n%2\n").arg(heading, body);
    };
    QTest::newRow("utf-8 with bom")
        << QByteArray("\xEF\xBB\xBF") + document(chinese, chineseBody).toUtf8() << chinese;
    QTest::newRow("gb18030") << encode(document(chinese, chineseBody), "GB18030") << chinese;
    QTest::newRow("big5") << encode(document(traditional, traditionalBody), "Big5") << traditional;
    QTest::newRow("shift-jis") << encode(document(japanese, japaneseBody), "Shift_JIS") << japanese;
    QTest::newRow("utf-16le bom") << encode(QChar(0xFEFF) + document(chinese, chineseBody),
                                            "UTF-16LE")
                                  << chinese;
    QTest::newRow("utf-16be bom") << encode(QChar(0xFEFF) + document(latin, latinBody), "UTF-16BE")
                                  << latin;
    QTest::newRow("latin-1") << encode(document(latin, latinBody), "ISO-8859-1") << latin;
}

void CommandLineTest::encodings()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, title);
    QVERIFY(!bytes.isEmpty());
    write(QStringLiteral("doc.md"), bytes);
    const Run result = run({"--outline", "doc.md"});
    QCOMPARE(result.exitCode, 0);
    const QJsonObject line = QJsonDocument::fromJson(result.out).object();
    QCOMPARE(line.value(QStringLiteral("outline"))
                 .toArray()
                 .at(0)
                 .toObject()
                 .value(QStringLiteral("title"))
                 .toString(),
             title);
}

void CommandLineTest::outlineJson()
{
    write(QStringLiteral("a.md"), "# One \"quoted\"\n## Two\n");
    write(QStringLiteral("b.md"), "no headings");
    const Run result = run({"--outline", "a.md", "b.md"});
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(QString::fromUtf8(result.out),
             QStringLiteral(
                 "{\"file\": \"a.md\", \"outline\": [{\"id\": \"one-quoted\", \"title\": \"One "
                 "\\\"quoted\\\"\", \"level\": 1}, {\"id\": \"two\", \"title\": \"Two\", "
                 "\"level\": 2}]}\n"
                 "{\"file\": \"b.md\", \"outline\": []}\n"));
}

void CommandLineTest::missingDiagramLibrary()
{
    QTemporaryDir empty;
    write(QStringLiteral("d.md"), "```mermaid\ngraph TD; A-->B\n```\n");
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TARN_RESOURCE_DIR"), empty.path());
    const Run result = run({"--export", "html", "--output", "-", "d.md"}, {}, environment);
    QCOMPARE(result.exitCode, 0);
    QVERIFY(result.out.contains("\n</main>\n\n<script>\n"));

    // With the real library from the build tree, the page carries it once.
    environment.insert(QStringLiteral("TARN_RESOURCE_DIR"),
                       QStringLiteral(TARN_BUILD_RESOURCE_DIR));
    const Run withLibrary = run({"--export", "html", "--output", "-", "d.md"}, {}, environment);
    QCOMPARE(withLibrary.exitCode, 0);
    QCOMPARE(withLibrary.out.count("\n</main>\n<script>\n"), 1);
    QVERIFY(withLibrary.out.size() > 1000000);
}

} // namespace

QTEST_GUILESS_MAIN(CommandLineTest)
#include "tst_cli.moc"
