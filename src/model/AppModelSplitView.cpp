// AppModel's split view: editing with the preview beside the text, and where its divider sits.
#include "AppModel.h"

#include <QSettings>

#include <algorithm>
#include <cmath>

namespace {

const char kEditorShareKey[] = "tarn.splitViewEditorShare";
// Neither side may be squeezed out of sight by a stored value.
constexpr double kMinimumShare = 0.15;
constexpr double kMaximumShare = 0.85;

} // namespace

void AppModel::setSplitView(bool split)
{
    if (m_isSplitView == split)
        return;
    m_isSplitView = split;
    emit isSplitViewChanged();
}

void AppModel::toggleSplitView()
{
    if (m_isSplitView) {
        setSplitView(false);
        return;
    }
    if (!selectedDocument())
        return;
    // Set first, so the editor is laid out once, beside the preview.
    setSplitView(true);
    if (!m_isEditing)
        toggleEditing();
    if (!m_isEditing)
        setSplitView(false);
}

double AppModel::splitViewEditorShare() const
{
    bool ok = false;
    const double share = m_settings.value(QLatin1String(kEditorShareKey)).toDouble(&ok);
    if (!ok || !std::isfinite(share) || share < kMinimumShare || share > kMaximumShare)
        return 0.5;
    return share;
}

void AppModel::setSplitViewEditorShare(double share)
{
    if (!std::isfinite(share))
        return;
    m_settings.setValue(QLatin1String(kEditorShareKey),
                        std::clamp(share, kMinimumShare, kMaximumShare));
}
