// Remembering each line break's form across edits in the view.
#include "DraftLineBreaks.h"

#include <algorithm>
#include <array>

namespace {

constexpr QStringView lf = u"\n";
constexpr QStringView crlf = u"\r\n";
constexpr QStringView cr = u"\r";

qsizetype countBreaks(QStringView text)
{
    return text.count(u'\n');
}

} // namespace

QString DraftLineBreaks::reset(const QString &draft)
{
    m_forms.clear();
    // The usual case, LF only: the view shows the draft itself.
    if (!draft.contains(u'\r')) {
        m_forms.assign(std::size_t(countBreaks(draft)), lf);
        m_usual = lf;
        m_viewText = draft;
        return draft;
    }
    QString view;
    view.reserve(draft.size());
    std::array<qsizetype, 3> counts{}; // lf, crlf, cr
    for (qsizetype i = 0; i < draft.size(); ++i) {
        const QChar c = draft[i];
        if (c == u'\r') {
            const bool pair = i + 1 < draft.size() && draft[i + 1] == u'\n';
            m_forms.push_back(pair ? crlf : cr);
            ++counts[pair ? 1 : 2];
            i += pair;
            view += u'\n';
        } else {
            if (c == u'\n') {
                m_forms.push_back(lf);
                ++counts[0];
            }
            view += c;
        }
    }
    // The most frequent form; on a tie the earliest of LF, CRLF, CR.
    const auto most = std::max_element(counts.begin(), counts.end()) - counts.begin();
    m_usual = most == 1 ? crlf : most == 2 ? cr : lf;
    m_viewText = view;
    return view;
}

QString DraftLineBreaks::update(const QString &viewText)
{
    const QStringView before(m_viewText);
    const QStringView after(viewText);
    const qsizetype shorter = std::min(before.size(), after.size());
    const qsizetype prefix =
        std::mismatch(before.begin(), before.begin() + shorter, after.begin()).first -
        before.begin();
    const qsizetype suffix =
        std::mismatch(before.rbegin(), before.rbegin() + (shorter - prefix), after.rbegin()).first -
        before.rbegin();

    const qsizetype keptAtStart = countBreaks(before.first(prefix));
    const qsizetype keptAtEnd = countBreaks(before.last(suffix));
    const qsizetype added = countBreaks(after.sliced(prefix, after.size() - prefix - suffix));
    std::vector<QStringView> forms;
    forms.reserve(std::size_t(keptAtStart + added + keptAtEnd));
    forms.insert(forms.end(), m_forms.begin(), m_forms.begin() + keptAtStart);
    forms.insert(forms.end(), std::size_t(added), m_usual);
    forms.insert(forms.end(), m_forms.end() - keptAtEnd, m_forms.end());
    m_forms = std::move(forms);
    m_viewText = viewText;

    // Most files have LF only: then the draft is the view's text itself, without a copy.
    if (std::all_of(m_forms.begin(), m_forms.end(), [](QStringView form) { return form == lf; }))
        return viewText;
    QString draft;
    draft.reserve(viewText.size() + qsizetype(m_forms.size()));
    qsizetype from = 0;
    for (const QStringView form : m_forms) {
        const qsizetype at = viewText.indexOf(u'\n', from);
        draft += after.sliced(from, at - from);
        draft += form;
        from = at + 1;
    }
    draft += after.sliced(from);
    return draft;
}
