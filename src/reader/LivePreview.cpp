// Keeps the preview page in step with the draft without reloading it: the page is loaded once
// per document, flavour and theme, and every later draft reaches it as a fragment that the
// page morphs in (split-preview.js).
#include "LivePreview.h"

#include "FragmentBlocks.h"
#include "MarkdownWebView.h"
#include "PageNumbers.h"
#include "ReaderScripts.h"
#include "TarnDocument.h"
#include "TarnWebView.h"
#include "Utf16Text.h"

#include <QColor>
#include <QVariantMap>

#include <algorithm>
#include <string_view>

namespace TarnEmbedded {
std::string_view splitPreviewUtf8();
}

namespace {

QString lineList(const std::vector<std::size_t> &lines)
{
    QString out = QStringLiteral("[");
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (i > 0)
            out += u',';
        out += QString::number(qulonglong(lines[i]));
    }
    return out + u']';
}

QStringView htmlOf(const MarkdownRenderer::Fragment &fragment)
{
    return QStringView(reinterpret_cast<const QChar *>(fragment.html.data()),
                       qsizetype(fragment.html.size()));
}

QString callScript(const char *function, const MarkdownRenderer::Fragment &fragment)
{
    const QStringView html = htmlOf(fragment);
    return QStringLiteral("window.tarnPreview ? window.tarnPreview.%1(%2, %3) : -1")
        .arg(QLatin1String(function), ReaderScripts::stringLiteral(html),
             lineList(fragment.blockLines));
}

} // namespace

LivePreview::LivePreview(QWidget *parentWidget)
    : QObject(parentWidget)
    , m_coordinator(new MarkdownWebViewCoordinator(this))
{
    MarkdownWebView value;
    value.html = QString::fromStdU16String(MarkdownRenderer::render(std::u16string_view()).html);
    value.onOpenLink = [this](const QUrl &url) {
        if (onOpenLink)
            onOpenLink(url);
    };
    m_view = m_coordinator->makeView(value, parentWidget);
    m_view->setObjectName(QStringLiteral("livePreview"));
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &LivePreview::updateNow);
    connect(m_coordinator, &MarkdownWebViewCoordinator::pageReady, this, [this](TarnWebView *view) {
        if (view == m_view && !m_view->loader().isLoading())
            onPageReady();
    });
    connect(&m_view->messageChannel(), &TarnMessageChannel::messageReceived, this,
            &LivePreview::receive);
}

// The coordinator is a child: it and its connections go first.
LivePreview::~LivePreview() = default;

void LivePreview::show(TarnDocument *document, MarkdownFlavor flavor, TarnTheme theme)
{
    if (m_document != document) {
        if (m_document)
            disconnect(m_document, nullptr, this, nullptr);
        m_document = document;
        if (document)
            connect(document, &TarnDocument::draftChanged, this, &LivePreview::scheduleUpdate);
    } else if (m_flavor == flavor && m_theme == theme && !m_shownDraft.isNull()) {
        scheduleUpdate();
        return;
    }
    m_flavor = flavor;
    m_theme = theme;
    load();
}

void LivePreview::scheduleUpdate()
{
    m_stale = true;
    // Not restarted by later keys: while typing goes on, one update per interval.
    if (m_timer.isActive() || m_updating)
        return;
    const qint64 since = m_lastUpdate.isValid() ? m_lastUpdate.elapsed() : updateIntervalMs;
    m_timer.start(int(std::max<qint64>(0, updateIntervalMs - since)));
}

MarkdownRenderer::Fragment LivePreview::renderDraft() const
{
    const QString draft = m_document ? m_document->draft() : QString();
    return MarkdownRenderer::renderFragment(u16View(draft), m_flavor);
}

bool LivePreview::pageCanShow(const MarkdownRenderer::Fragment &fragment) const
{
    return (!fragment.hasMermaid || m_loadedFragment.hasMermaid) &&
           (!fragment.hasMath || m_loadedFragment.hasMath) &&
           (!fragment.hasHighlight || m_loadedFragment.hasHighlight);
}

void LivePreview::load()
{
    m_timer.stop();
    m_ready = false;
    m_updating = false;
    m_stale = false;
    m_shownDraft = m_document ? m_document->draft() : QString();
    m_loadedFragment = renderDraft();
    m_blocks.clear();
    for (const QStringView block : FragmentBlocks::split(htmlOf(m_loadedFragment)))
        m_blocks.append(block.toString());
    // The reader's own page of the draft: its policy, request filter and link rules.
    const std::u16string title = m_document ? m_document->title().toStdU16String() : u"Tarn";
    MarkdownWebView value = m_coordinator->parentValue();
    // The page of the fragment just made, not a second render of the draft.
    value.html = QString::fromStdU16String(
        MarkdownRenderer::pageOf(m_loadedFragment, m_flavor, m_theme, title));
    value.baseURL = m_document && !m_document->url().isEmpty()
                        ? std::optional<QUrl>(m_document->baseURL())
                        : std::nullopt;
    value.darkAppearance = TarnThemes::colorScheme(m_theme) == TarnColorScheme::dark;
    value.initialScrollY = 0;
    const TarnRGB background = TarnThemes::backgroundColor(m_theme);
    m_view->setPlaceholderColor(
        QColor::fromRgbF(float(background.red), float(background.green), float(background.blue)));
    m_coordinator->updateView(m_view, value);
    noteOutline(m_loadedFragment);
}

void LivePreview::onPageReady()
{
    const QPointer<LivePreview> self(this);
    m_view->page()->runJavaScript(
        installScript() + u'\n' + adoptScript(m_loadedFragment), [self](const QVariant &) {
            if (!self)
                return;
            self->m_ready = true;
            emit self->pageReady();
            emit self->updated(-1);
            if (const auto line = std::exchange(self->m_pendingLine, std::nullopt))
                self->showLine(*line);
            if (self->m_document && self->m_document->draft() != self->m_shownDraft)
                self->scheduleUpdate();
        });
}

void LivePreview::updateNow()
{
    m_timer.stop();
    if (!m_ready || m_updating || !m_document)
        return;
    const QString draft = m_document->draft();
    m_stale = false;
    if (draft == m_shownDraft)
        return;
    QElapsedTimer clock;
    clock.start();
    m_lastUpdate.start();
    MarkdownRenderer::Fragment fragment = renderDraft();
    m_shownDraft = draft;
    if (!pageCanShow(fragment)) {
        // The page lacks a library the draft now needs (its policy allows only what it has).
        load();
        return;
    }
    m_updating = true;
    noteOutline(fragment);
    const QPointer<LivePreview> self(this);
    const auto finish = [self, clock] {
        if (!self)
            return;
        self->m_updating = false;
        emit self->updated(int(clock.elapsed()));
        if (self->m_stale)
            self->scheduleUpdate();
    };
    const QString patch = patchScript(fragment, m_blocks);
    m_view->page()->runJavaScript(
        patch, [self, finish, full = updateScript(fragment)](const QVariant &result) {
            if (!self)
                return;
            if (result.toInt() != -1)
                return finish();
            // The page's blocks were not the ones expected: the whole fragment goes over.
            self->m_view->page()->runJavaScript(full, [finish](const QVariant &) { finish(); });
        });
}

void LivePreview::noteOutline(const MarkdownRenderer::Fragment &fragment)
{
    m_headingLines = fragment.headingLines;
    m_toc = fragment.toc;
    emit outlineChanged(m_toc);
}

QString LivePreview::headingAtLine(int line) const
{
    const auto after = std::upper_bound(m_headingLines.begin(), m_headingLines.end(),
                                        std::size_t(std::max(line, 0)));
    const auto index = std::size_t(after - m_headingLines.begin());
    return index == 0 || index > m_toc.size() ? QString()
                                              : QString::fromStdU16String(m_toc[index - 1].id);
}

void LivePreview::showLine(int line)
{
    if (!m_ready) {
        m_pendingLine = line;
        return;
    }
    m_view->page()->runJavaScript(
        QStringLiteral("window.tarnPreview && window.tarnPreview.scrollToLine(%1)").arg(line));
}

void LivePreview::receive(const QVariantMap &body)
{
    if (body.value(QStringLiteral("type")).toString() != QLatin1String("previewLine"))
        return;
    const std::optional<int> line = pageInt(body.value("line"));
    if (line && *line >= 0)
        emit lineAtTopChanged(*line);
}

QString LivePreview::updateScript(const MarkdownRenderer::Fragment &fragment)
{
    return callScript("update", fragment);
}

QString LivePreview::patchScript(const MarkdownRenderer::Fragment &fragment, QStringList &shown)
{
    const QStringView html = htmlOf(fragment);
    const QList<QStringView> blocks = FragmentBlocks::split(html);
    const FragmentBlocks::Change change = FragmentBlocks::difference(shown, blocks);
    QStringView changed;
    if (change.added > 0) {
        const QStringView first = blocks[change.first];
        const QStringView last = blocks[change.first + change.added - 1];
        changed = html.sliced(first.data() - html.data(), last.data() + last.size() - first.data());
    }
    const QString script =
        QStringLiteral("window.tarnPreview ? window.tarnPreview.patch(%1, %2, %3, %4, %5) : -1")
            .arg(change.first)
            .arg(change.removed)
            .arg(ReaderScripts::stringLiteral(changed), lineList(fragment.blockLines))
            .arg(shown.size());
    QStringList next;
    next.reserve(blocks.size());
    for (qsizetype i = 0; i < blocks.size(); ++i) {
        const bool kept = i < change.first || i >= change.first + change.added;
        next.append(kept ? shown[i < change.first ? i : i - change.added + change.removed]
                         : blocks[i].toString());
    }
    shown = std::move(next);
    return script;
}

QString LivePreview::adoptScript(const MarkdownRenderer::Fragment &fragment)
{
    return callScript("adopt", fragment);
}

QString LivePreview::installScript()
{
    // The library's browser build assigns itself to the object it is run with.
    static const QString script =
        QStringLiteral("window.tarnMorphdom = window.tarnMorphdom || (function () {\n"
                       "var define, module, exports;\n") +
        QString::fromStdU16String(MarkdownRenderer::morphingLibrary()) +
        QStringLiteral("\nreturn this.morphdom;\n}).call({});\n") +
        QString::fromUtf8(TarnEmbedded::splitPreviewUtf8());
    return script;
}
