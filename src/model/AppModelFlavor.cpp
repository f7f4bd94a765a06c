// AppModel's Markdown flavour and the hint that offers the standard one.
#include "AppModel.h"

#include "ModelSettings.h"
#include "Utf16Text.h"
#include "gfm/FlavorHints.h"

void AppModel::setMarkdownFlavor(MarkdownFlavor flavor)
{
    checkSettingsWritten(ModelSettings::writeMarkdownFlavor(m_settings, flavor));
    if (m_markdownFlavor == flavor)
        return;
    m_markdownFlavor = flavor;
    // Scroll offsets do not carry over between the two layouts of a page; headings do.
    if (const QString heading = currentHeadingID(); !heading.isEmpty())
        setScrollTargetID(heading);
    emit markdownFlavorChanged();
    updateFlavorHint();
}

void AppModel::closeFlavorHint()
{
    TarnDocument *document = selectedDocument();
    if (!document)
        return;
    const QString path = document->url().toLocalFile();
    if (path.isEmpty()) {
        m_flavorHintClosedUnsaved.insert(document->id());
    } else {
        m_flavorHintClosed.insert(path);
        checkSettingsWritten(ModelSettings::writeFlavorHintClosed(m_settings, m_flavorHintClosed));
    }
    updateFlavorHint();
}

void AppModel::updateFlavorHint()
{
    const TarnDocument *document = selectedDocument();
    bool shows = document && m_markdownFlavor == MarkdownFlavor::classic &&
                 !m_flavorHintClosedUnsaved.contains(document->id()) &&
                 !m_flavorHintClosed.contains(document->url().toLocalFile());
    if (shows) {
        // The saved text, as the reader shows it.
        const QString text = document->content();
        shows = FlavorHints::firstStandardConstruct(u16View(text)).has_value();
    }
    if (m_showsFlavorHint == shows)
        return;
    m_showsFlavorHint = shows;
    emit showsFlavorHintChanged();
}
