// Alerts are recognised on the parse tree: the marker must be the whole first line of the
// quote's first paragraph, and something must follow it.
#include "Alerts.h"

#include <array>
#include <string>
#include <string_view>

namespace TarnGfm {
namespace {

constexpr std::array<AlertKind, 5> kKinds = {{
    {"NOTE", "note", "注意"},
    {"TIP", "tip", "提示"},
    {"IMPORTANT", "important", "重要"},
    {"WARNING", "warning", "警告"},
    {"CAUTION", "caution", "小心"},
}};

const AlertKind *kindOfMarker(std::string_view text)
{
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t'))
        text.remove_suffix(1);
    if (text.size() < 4 || !text.starts_with("[!") || !text.ends_with("]"))
        return nullptr;
    std::string name(text.substr(2, text.size() - 3));
    for (char &c : name) {
        if (c >= 'a' && c <= 'z')
            c = char(c - 'a' + 'A');
    }
    for (const AlertKind &kind : kKinds) {
        if (name == kind.marker)
            return &kind;
    }
    return nullptr;
}

bool isBreak(cmark_node *node)
{
    const cmark_node_type type = cmark_node_get_type(node);
    return type == CMARK_NODE_SOFTBREAK || type == CMARK_NODE_LINEBREAK;
}

} // namespace

const AlertKind *takeAlertMarker(cmark_node *quote)
{
    cmark_node *paragraph = cmark_node_first_child(quote);
    if (!paragraph || cmark_node_get_type(paragraph) != CMARK_NODE_PARAGRAPH)
        return nullptr;
    // The inline parser may have split the marker into several text nodes.
    std::string firstLine;
    cmark_node *end = cmark_node_first_child(paragraph);
    for (; end && !isBreak(end); end = cmark_node_next(end)) {
        if (cmark_node_get_type(end) != CMARK_NODE_TEXT)
            return nullptr;
        firstLine.append(cmark_node_get_literal(end));
    }
    const AlertKind *kind = kindOfMarker(firstLine);
    if (!kind || (!end && !cmark_node_next(paragraph)))
        return nullptr;
    if (end)
        end = cmark_node_next(end); // the line break goes with the marker
    while (cmark_node_first_child(paragraph) != end)
        cmark_node_free(cmark_node_first_child(paragraph));
    if (!cmark_node_first_child(paragraph))
        cmark_node_free(paragraph);
    return kind;
}

} // namespace TarnGfm
