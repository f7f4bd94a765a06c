// The command line run as a real process: conversions, batches, standard input, bad input.
#include "MarkdownRenderer.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStringEncoder>
#include <QTemporaryDir>
#include <QTest>

namespace {

struct Run
{
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

QByteArray pageFor(const QString &markdown, const QString &title,
                   TarnTheme theme = TarnTheme::businessBlue,
                   MarkdownFlavor flavor = MarkdownFlavor::classic)
{
    const auto page =
        MarkdownRenderer::render(markdown.toStdU16String(), theme, title.toStdU16String(), flavor);
    return QString::fromStdU16String(page.html).toUtf8();
}

// Arguments, exit status, and text expected in standard output and standard error.
using Usage = std::tuple<QStringList, int, QString, QString>;

} // namespace

class CommandLineTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
    }

    void usageErrors_data()
    {
        QTest::addColumn<Usage>("row");
        // clang-format off
        QTest::newRow("help names the flavours") << Usage{{"--help"}, 0, "--flavor classic|gfm", ""};
        QTest::newRow("version") << Usage{{"-V"}, 0, "tarn 0.", ""};
        QTest::newRow("help names the short forms") << Usage{{"-h"}, 0, "-o, --output", ""};
        QTest::newRow("-v is no option") << Usage{{"-v"}, 2, "", "\"-v\""};
        QTest::newRow("theme without a conversion") << Usage{{"--theme", "businessBlue", "a.md"}, 2, "", "--theme goes with --export"};
        QTest::newRow("title without a conversion") << Usage{{"--title", "x", "a.md"}, 2, "", "--title and --output go with --export"};
        QTest::newRow("PDF from standard input needs an output") << Usage{{"--export", "pdf", "-"}, 2, "", "needs --output"};
        QTest::newRow("unknown theme") << Usage{{"--export", "html", "--theme", "Dark", "a.md"}, 2, "", "valid themes: businessBlue, light, warm, dark"};
        QTest::newRow("unknown format") << Usage{{"--export", "docx", "a.md"}, 2, "", "unknown export format"};
        QTest::newRow("no file") << Usage{{"--export", "html"}, 2, "", "no input file"};
        QTest::newRow("unknown option") << Usage{{"--frobnicate"}, 2, "", "--frobnicate"};
        QTest::newRow("theme with the outline") << Usage{{"--outline", "--theme", "dark", "a.md"}, 2, "", "--theme goes with --export"};
        QTest::newRow("unknown flavour") << Usage{{"--outline", "--flavor", "github", "a.md"}, 2, "", "unknown flavor \"github\"; use classic or gfm"};
        QTest::newRow("flavour in another case") << Usage{{"--export", "html", "--flavor=GFM", "a.md"}, 2, "", "unknown flavor"};
        QTest::newRow("flavour without a value") << Usage{{"--outline", "a.md", "--flavor"}, 2, "", "--flavor"};
        QTest::newRow("flavour without a conversion") << Usage{{"--flavor", "gfm", "a.md"}, 2, "", "--flavor goes with --export or --outline"};
        QTest::newRow("stdin twice") << Usage{{"--outline", "-", "-"}, 2, "", "only once"};
        // clang-format on
    }

    void usageErrors()
    {
        QFETCH(Usage, row);
        const auto &[arguments, exitCode, outContains, errContains] = row;
        const Run result = run(arguments);
        QCOMPARE(result.exitCode, exitCode);
        QVERIFY2(QString::fromUtf8(result.out).contains(outContains), result.out.constData());
        QVERIFY2(QString::fromUtf8(result.err).contains(errContains), result.err.constData());
    }

    // The manual page describes every option that --help lists.
    void manualPageHasEveryOption()
    {
        QFile page(QStringLiteral(TARN_MAN_PAGE));
        QVERIFY(page.open(QIODevice::ReadOnly));
        const QString manual = QString::fromUtf8(page.readAll()).replace("\\-", "-"); // roff
        static const QRegularExpression option("(?<![\\w-])(--?[A-Za-z][\\w-]*)");
        QStringList options;
        for (const QRegularExpressionMatch &match :
             option.globalMatch(QString::fromUtf8(run({"--help"}).out)))
            options << match.captured(1);
        options.removeDuplicates();
        QVERIFY2(options.size() >= 10, qPrintable(options.join(' ')));
        for (const QString &name : std::as_const(options)) {
            const QRegularExpression mention("(?<![\\w-])" + QRegularExpression::escape(name) +
                                             "(?![\\w-])");
            QVERIFY2(mention.match(manual).hasMatch(), qPrintable(name));
        }
    }

    void singleConversions()
    {
        // Next to the input; the title is the display title with every Markdown extension gone.
        write("notes/guide.md.md", "# 标题\n\nSome *text*.\n");
        Run result = run({"--export", "html", "--theme", "warm", "notes/guide.md.md"});
        QCOMPARE(result.exitCode, 0);
        QVERIFY(result.out.isEmpty());
        QCOMPARE(read("notes/guide.md.html"),
                 pageFor("# 标题\n\nSome *text*.\n", "guide", TarnTheme::warm));

        write("a.md", "x");
        result = run({"--export=html", "--title", "T <1>", "--output", "-", "a.md"});
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(result.out, pageFor("x", "T <1>"));

        result = run({"--export", "html", "-"}, "# From stdin\n");
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(result.out, pageFor("# From stdin\n", "Tarn"));
    }

    void batchIntoFolder()
    {
        write("a.md", "# A");
        write("sub/b.markdown", "# B");
        const Run result =
            run({"--export", "html", "--output", "out/html", "a.md", "sub/b.markdown"});
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(read("out/html/a.html"), pageFor("# A", "a"));
        QCOMPARE(read("out/html/b.html"), pageFor("# B", "b"));

        write("x/n.md", "1");
        write("y/n.md", "2");
        const Run clash = run({"--export", "html", "--output", "out2", "x/n.md", "y/n.md"});
        QCOMPARE(clash.exitCode, 1);
        QVERIFY(clash.err.contains("both be written"));
        QVERIFY(!QFile::exists(m_dir->filePath("out2/n.html")));
    }

    // Written into another folder, the page still finds its images and linked files; next to
    // the document or on standard output it is the page as rendered.
    void htmlElsewhereKeepsItsImages()
    {
        const QByteArray markdown = "![red](img/red.png) [next](next.md#top)\n";
        write("main.md", markdown);
        QVERIFY(QDir(m_dir->path()).mkdir("out"));
        QCOMPARE(run({"--export", "html", "-o", "out/main.html", "main.md"}).exitCode, 0);
        QCOMPARE(run({"--export", "html", "-o", "out/stdin.html", "-"}, markdown).exitCode, 0);
        for (const char *name : {"out/main.html", "out/stdin.html"}) {
            const QByteArray page = read(name);
            QVERIFY2(page.contains("src=\"../img/red.png\"") &&
                         page.contains("href=\"../next.md#top\""),
                     name);
        }
        QCOMPARE(run({"--export", "html", "-o", "copy.html", "main.md"}).exitCode, 0);
        QCOMPARE(read("copy.html"), pageFor(markdown, "main"));
        QCOMPARE(run({"--export", "html", "-o", "-", "main.md"}).out, pageFor(markdown, "main"));
    }

    void outputNeverReplacesAnInput()
    {
        write("notes.md", "# Notes\n");
        write("out/other.html", "kept");
        Run result = run({"--export", "html", "-o", "./notes.md", "notes.md"});
        QCOMPARE(result.exitCode, 2);
        QVERIFY2(result.err.contains("would replace the input"), result.err.constData());
        result = run({"--export", "html", "-o", "out", "notes.md", "out/other.html"});
        QCOMPARE(result.exitCode, 2);
        QCOMPARE(read("notes.md"), QByteArray("# Notes\n"));
        QCOMPARE(read("out/other.html"), QByteArray("kept"));
        QVERIFY(!QFile::exists(m_dir->filePath("out/notes.html"))); // nothing written at all
    }

    void badFilesDoNotStopTheBatch()
    {
        write("good.md", "# Good");
        write("binary.md", QByteArray("\x00\x01\x02\xff\xfe\x00garbage", 13));
        QDir(m_dir->path()).mkdir("folder.md");
        const Run result = run({"--export", "html", "--output", "out", "missing.md", "binary.md",
                                "folder.md", "good.md"});
        QCOMPARE(result.exitCode, 1);
        for (const char *name : {"missing.md: ", "binary.md: ", "folder.md: "})
            QVERIFY2(result.err.contains(name), result.err.constData());
        QCOMPARE(read("out/good.html"), pageFor("# Good", "good"));
        QVERIFY(!QFile::exists(m_dir->filePath("out/binary.html")));

        write("blocker", "a file, not a folder");
        const Run blocked = run({"--export", "html", "--output", "blocker/x.html", "good.md"});
        QCOMPARE(blocked.exitCode, 1);
        QVERIFY(blocked.err.contains("cannot write"));
    }

    void outlineJsonOfAnyEncoding()
    {
        // A legacy Chinese encoding is detected; the file name and quotes are escaped as JSON.
        const QString body = QStringLiteral("这是一个用于测试编码识别的段落。我们在这里写下足够多的"
                                            "中文文字，让字符集检测器能够可靠地判断文件的编码。");
        write("a.md", QByteArray(QStringEncoder("GB18030")(
                          QStringLiteral("# 中文 \"标题\"\n\n%1\n\n%1\n## Two\n").arg(body))));
        write("b.md", "no headings");
        const Run result = run({"--outline", "a.md", "b.md"});
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(QString::fromUtf8(result.out),
                 QStringLiteral("{\"file\": \"a.md\", \"outline\": [{\"id\": \"中文-标题\", "
                                "\"title\": \"中文 \\\"标题\\\"\", \"level\": 1}, {\"id\": "
                                "\"two\", \"title\": \"Two\", \"level\": 2}]}\n"
                                "{\"file\": \"b.md\", \"outline\": []}\n"));
    }

    // Both conversions read the text in the flavour asked for; the classic one by default.
    void flavours()
    {
        const QString markdown = QStringLiteral("Intro\n=====\n\nText.\n");
        write("u.md", markdown.toUtf8());
        for (const auto &[flavor, name] : {std::pair(MarkdownFlavor::classic, "classic"),
                                           std::pair(MarkdownFlavor::gfm, "gfm")}) {
            const Run result = run({"--export", "html", "--flavor", name, "-o", "-", "u.md"});
            QCOMPARE(result.exitCode, 0);
            QCOMPARE(result.out, pageFor(markdown, "u", TarnTheme::businessBlue, flavor));
        }
        QCOMPARE(run({"--export", "html", "-o", "-", "u.md"}).out, pageFor(markdown, "u"));
        QVERIFY(pageFor(markdown, "u") !=
                pageFor(markdown, "u", TarnTheme::businessBlue, MarkdownFlavor::gfm));

        const Run classic = run({"--outline", "u.md"});
        QCOMPARE(classic.out, QByteArray("{\"file\": \"u.md\", \"outline\": []}\n"));
        const Run gfm = run({"--outline", "--flavor=gfm", "u.md"});
        QCOMPARE(gfm.exitCode, 0);
        QCOMPARE(gfm.out, QByteArray("{\"file\": \"u.md\", \"outline\": [{\"id\": \"intro\", "
                                     "\"title\": \"Intro\", \"level\": 1}]}\n"));
    }

    // PDF needs the web engine but no display: it falls back to the offscreen platform.
    void pdfWithoutDisplay()
    {
        write("doc.md", "# Heading\n");
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        for (const char *name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"})
            environment.remove(name);
        environment.insert("QTWEBENGINE_DISABLE_SANDBOX", "1");
        // Conversions are not the desktop program's doing: they leave its usage log alone.
        environment.insert("TARN_LOG_DIR", m_dir->filePath("logs"));
        const Run result =
            run({"--export", "pdf", "--theme", "dark", "-o", "out", "missing.md", "doc.md"}, {},
                environment);
        QCOMPARE(result.exitCode, 1);
        QVERIFY2(result.err.startsWith("tarn: missing.md: "), result.err.constData());
        QVERIFY(read("out/doc.pdf").startsWith("%PDF-"));
        QVERIFY(!QFileInfo::exists(m_dir->filePath("logs/tarn.log")));
    }

    // A web engine that never answers (its page process never starts) does not keep a PDF
    // conversion waiting: it ends with a message and status 1 once its time is up.
    void pdfEndsWhenTheEngineDoesNot()
    {
        write("doc.md", "# Heading\n");
        write("stalled-renderer",
              "#!/bin/sh\nwhile kill -0 $PPID 2>/dev/null; do sleep 0.2; done\n");
        QVERIFY(QFile::setPermissions(m_dir->filePath("stalled-renderer"),
                                      QFile::ReadOwner | QFile::ExeOwner));
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QT_QPA_PLATFORM", "offscreen");
        environment.insert("QTWEBENGINE_DISABLE_SANDBOX", "1");
        environment.insert("QTWEBENGINE_CHROMIUM_FLAGS",
                           "--renderer-cmd-prefix=" + m_dir->filePath("stalled-renderer"));
        environment.insert("TARN_PDF_TIMEOUT", "1");
        const Run result = run({"--export", "pdf", "doc.md"}, {}, environment);
        QCOMPARE(result.exitCode, 1);
        QVERIFY2(QString::fromUtf8(result.err)
                     .startsWith("tarn: doc.md: cannot write \"./doc.pdf\": 网页引擎没有在 1 秒内"),
                 result.err.constData());
        QVERIFY(!QFileInfo::exists(m_dir->filePath("doc.pdf")));
    }

    void diagramLibraryInlinedOnceOrLeftOut()
    {
        QTemporaryDir empty;
        write("d.md", "```mermaid\ngraph TD; A-->B\n```\n");
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("TARN_RESOURCE_DIR", empty.path());
        const Run without = run({"--export", "html", "--output", "-", "d.md"}, {}, environment);
        QCOMPARE(without.exitCode, 0);
        QVERIFY(without.out.contains("\n</main>\n\n<script>\n"));

        environment.insert("TARN_RESOURCE_DIR", TARN_BUILD_RESOURCE_DIR);
        const Run with = run({"--export", "html", "--output", "-", "d.md"}, {}, environment);
        QCOMPARE(with.exitCode, 0);
        QCOMPARE(with.out.count("\n</main>\n<script>\n"), 1);
        QVERIFY(with.out.size() > 1000000);
    }

private:
    Run run(const QStringList &arguments, const QByteArray &input = {},
            const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
    {
        QProcess process;
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(m_dir->path());
        process.start(TARN_BINARY, arguments);
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

    void write(const QString &name, const QByteArray &bytes)
    {
        const QString path = m_dir->filePath(name);
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    QByteArray read(const QString &name)
    {
        QFile file(m_dir->filePath(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
    }

    std::unique_ptr<QTemporaryDir> m_dir;
};

QTEST_GUILESS_MAIN(CommandLineTest)
#include "tst_cli.moc"
