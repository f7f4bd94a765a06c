// GitHub's alerts: a block quote whose first line is "[!NOTE]", "[!TIP]", "[!IMPORTANT]",
// "[!WARNING]" or "[!CAUTION]".
#pragma once

#include <cmark-gfm.h>

namespace TarnGfm {

struct AlertKind
{
    const char *marker; // upper case, without brackets
    const char *cssName;
    const char *title;
};

// When the block quote is an alert, takes its marker line out of the tree and returns its kind;
// otherwise leaves it alone and returns null. Call before the quote's children are visited.
const AlertKind *takeAlertMarker(cmark_node *blockQuote);

} // namespace TarnGfm
