// The allow-list sanitizer for the standard flavour's raw HTML, on Gumbo's HTML5 parser.
//
// Which layer stops what on a standard-flavour page:
// - cmark-gfm's tagfilter turns <title>, <textarea>, <style>, <xmp>, <iframe>, <noembed>,
//   <noframes>, <script> and <plaintext> in raw HTML into text, before any HTML parser sees it.
// - This sanitizer parses the fragment as a browser would and keeps only the elements and
//   attributes below: no script or style element, no event handler or style attribute, no
//   frame, object, embed, form, input (but the task checkbox), <meta> refresh, <base> or <link>,
//   and only http, https, mailto and relative addresses (raster data: images too).
// - The page's Content-Security-Policy (StandardPage.cpp) stops whatever got past both, in the
//   reader and in any browser that opens an exported page: only Tarn's own scripts run (by
//   hash), so no handler or javascript: address does; no object, frame, form submission,
//   <base>, remote style sheet, font or connection. It lets images come from the web, so an
//   exported page shows them; it does not stop a <meta> refresh (the sanitizer does).
// - In the reader, the request filter lets only the page, images and fonts load and no local
//   page reaches the network (so remote images stay out); the click rules send links to the
//   host, which opens only http, https, mailto and file addresses, and the view never
//   navigates away from its page. Without the host (an exported page) the same script cancels
//   clicks on any scheme but http, https, mailto and relative addresses.
#include "HtmlSanitizer.h"
#include "SafeAddress.h"

#include <gumbo.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <vector>

namespace TarnGfm {
namespace {

using std::string_view;

// Gumbo frees its tree recursively, which a deeply nested document could overflow; its memory
// is kept on a list here instead, released in one go.
class Arena
{
public:
    Arena() { m_head.previous = m_head.next = &m_head; }
    Arena(const Arena &) = delete;
    Arena &operator=(const Arena &) = delete;
    ~Arena()
    {
        for (Block *block = m_head.next; block != &m_head;) {
            Block *next = block->next;
            std::free(block);
            block = next;
        }
    }
    static void *allocate(void *self, size_t size)
    {
        auto *block = static_cast<Block *>(std::malloc(sizeof(Block) + size));
        if (!block)
            return nullptr;
        Block &head = static_cast<Arena *>(self)->m_head;
        block->previous = &head;
        block->next = head.next;
        head.next->previous = block;
        head.next = block;
        return block + 1;
    }
    static void release(void *, void *memory)
    {
        if (!memory)
            return;
        Block *block = static_cast<Block *>(memory) - 1;
        block->previous->next = block->next;
        block->next->previous = block->previous;
        std::free(block);
    }

private:
    struct alignas(std::max_align_t) Block
    {
        Block *previous;
        Block *next;
    };
    Block m_head;
};

enum class Verdict
{
    keep,
    unwrap, // the element goes, its children stay
    drop    // the element goes with everything in it
};

// GitHub's list, less what Tarn has no use for.
constexpr string_view kKept[] = {
    "a",      "abbr",   "b",    "bdi",    "bdo",      "blockquote", "br",      "caption",
    "center", "cite",   "code", "col",    "colgroup", "dd",         "del",     "details",
    "dfn",    "div",    "dl",   "dt",     "em",       "figcaption", "figure",  "h1",
    "h2",     "h3",     "h4",   "h5",     "h6",       "hr",         "i",       "img",
    "input",  "ins",    "kbd",  "li",     "mark",     "ol",         "p",       "picture",
    "pre",    "q",      "rp",   "rt",     "ruby",     "s",          "samp",    "section",
    "small",  "source", "span", "strike", "strong",   "sub",        "summary", "sup",
    "table",  "tbody",  "td",   "tfoot",  "th",       "thead",      "time",    "tr",
    "tt",     "u",      "ul",   "var",    "wbr"};

// Elements whose content is code, styling, an embedded document or form controls.
constexpr string_view kDropped[] = {
    "applet",   "audio",     "base",     "button",   "canvas", "datalist", "embed",
    "frame",    "frameset",  "head",     "iframe",   "link",   "map",      "math",
    "meta",     "noembed",   "noframes", "noscript", "object", "option",   "optgroup",
    "param",    "plaintext", "script",   "select",   "style",  "svg",      "template",
    "textarea", "title",     "track",    "video",    "xmp"};

constexpr string_view kVoid[] = {"area",  "base", "br",   "col",   "embed",  "hr",    "img",
                                 "input", "link", "meta", "param", "source", "track", "wbr"};

constexpr string_view kGlobalAttributes[] = {"align",
                                             "aria-describedby",
                                             "aria-hidden",
                                             "aria-label",
                                             "aria-labelledby",
                                             "class",
                                             "dir",
                                             "id",
                                             "lang",
                                             "title"};

struct ElementAttributes
{
    string_view element;
    string_view attribute;
};
constexpr ElementAttributes kElementAttributes[] = {
    {"a", "href"},        {"img", "src"},       {"img", "srcset"},    {"img", "alt"},
    {"img", "width"},     {"img", "height"},    {"source", "srcset"}, {"source", "media"},
    {"source", "type"},   {"source", "width"},  {"source", "height"}, {"td", "colspan"},
    {"td", "rowspan"},    {"td", "valign"},     {"td", "width"},      {"th", "colspan"},
    {"th", "rowspan"},    {"th", "valign"},     {"th", "width"},      {"th", "scope"},
    {"col", "span"},      {"col", "width"},     {"colgroup", "span"}, {"table", "width"},
    {"ol", "start"},      {"ol", "type"},       {"ol", "reversed"},   {"ul", "type"},
    {"li", "value"},      {"details", "open"},  {"time", "datetime"}, {"input", "type"},
    {"input", "checked"}, {"input", "disabled"}};

template<std::size_t N> bool listed(const string_view (&list)[N], string_view name)
{
    return std::find(std::begin(list), std::end(list), name) != std::end(list);
}

bool isDataAttribute(string_view name)
{
    if (name.size() <= 5 || name.substr(0, 5) != "data-")
        return false;
    return std::all_of(name.begin() + 5, name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
    });
}

bool attributeAllowed(string_view element, const GumboAttribute &attribute)
{
    if (attribute.attr_namespace != GUMBO_ATTR_NAMESPACE_NONE)
        return false;
    const string_view name = attribute.name;
    const string_view value = attribute.value;
    if (name == "href")
        return element == "a" && isSafeAddress(value, false);
    if (name == "src")
        return element == "img" && isSafeAddress(value, true);
    if (name == "srcset")
        return (element == "img" || element == "source") && isSafeSourceSet(value);
    if (listed(kGlobalAttributes, name) || isDataAttribute(name))
        return true;
    return std::any_of(std::begin(kElementAttributes), std::end(kElementAttributes),
                       [&](const ElementAttributes &entry) {
                           return entry.element == element && entry.attribute == name;
                       });
}

std::string tagName(const GumboElement &element)
{
    if (element.tag != GUMBO_TAG_UNKNOWN)
        return gumbo_normalized_tagname(element.tag);
    GumboStringPiece original = element.original_tag;
    gumbo_tag_from_original_text(&original);
    std::string name(original.data ? original.data : "", original.length);
    std::transform(name.begin(), name.end(), name.begin(), asciiLower);
    return name;
}

// Only the checkbox cmark-gfm makes for task items may stay, and it stays disabled.
bool isTaskCheckbox(const GumboElement &element)
{
    const GumboAttribute *type = gumbo_get_attribute(&element.attributes, "type");
    return type && startsWithNoCase(type->value, "checkbox") && std::strlen(type->value) == 8;
}

Verdict verdict(const GumboElement &element, const std::string &name)
{
    if (element.tag_namespace != GUMBO_NAMESPACE_HTML || listed(kDropped, name))
        return Verdict::drop;
    if (name == "input")
        return isTaskCheckbox(element) ? Verdict::keep : Verdict::drop;
    return listed(kKept, name) ? Verdict::keep : Verdict::unwrap;
}

void appendEscaped(std::string &out, string_view text, bool attribute)
{
    for (const char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += attribute ? "&quot;" : "\"";
            break;
        default:
            // A raw control character would be read back differently (a carriage return as a
            // line feed); as a character reference it reads back as itself.
            if ((static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n') || c == 0x7f) {
                out += "&#";
                out += std::to_string(static_cast<unsigned char>(c));
                out += ';';
            } else {
                out.push_back(c);
            }
        }
    }
}

void appendStartTag(std::string &out, const GumboElement &element, const std::string &name)
{
    out += '<';
    out += name;
    for (unsigned int i = 0; i < element.attributes.length; ++i) {
        const auto &attribute = *static_cast<const GumboAttribute *>(element.attributes.data[i]);
        if (!attributeAllowed(name, attribute) ||
            (name == "input" && attribute.name == string_view("disabled")))
            continue;
        out += ' ';
        out += attribute.name;
        out += "=\"";
        appendEscaped(out, attribute.value, true);
        out += '"';
    }
    if (name == "input")
        out += " disabled=\"\"";
    out += '>';
}

// The parser drops one line break right after <pre>; a text that starts with one had two.
bool startsWithLineBreak(const GumboElement &element)
{
    if (element.children.length == 0)
        return false;
    const auto *first = static_cast<const GumboNode *>(element.children.data[0]);
    return (first->type == GUMBO_NODE_TEXT || first->type == GUMBO_NODE_WHITESPACE) &&
           first->v.text.text[0] == '\n';
}

// Writes the kept part of the tree without recursion: documents can nest deeply.
void serialize(std::string &out, const GumboNode *root)
{
    struct Step
    {
        const GumboNode *node;
        std::string endTag; // when set, this step closes an element
    };
    std::vector<Step> stack;
    const auto pushChildren = [&stack](const GumboVector &children) {
        for (unsigned int i = children.length; i > 0; --i)
            stack.push_back({static_cast<const GumboNode *>(children.data[i - 1]), {}});
    };
    pushChildren(root->v.element.children);
    while (!stack.empty()) {
        Step step = std::move(stack.back());
        stack.pop_back();
        if (!step.endTag.empty()) {
            out += step.endTag;
            continue;
        }
        const GumboNode *node = step.node;
        switch (node->type) {
        case GUMBO_NODE_TEXT:
        case GUMBO_NODE_WHITESPACE:
        case GUMBO_NODE_CDATA:
            appendEscaped(out, node->v.text.text, false);
            break;
        case GUMBO_NODE_ELEMENT: {
            const GumboElement &element = node->v.element;
            const std::string name = tagName(element);
            const Verdict what = verdict(element, name);
            if (what == Verdict::drop)
                break;
            if (what == Verdict::keep) {
                appendStartTag(out, element, name);
                if (name == "pre" && startsWithLineBreak(element))
                    out += '\n';
                if (listed(kVoid, name))
                    break;
                stack.push_back({nullptr, "</" + name + ">"});
            }
            pushChildren(element.children);
            break;
        }
        default: // comments, templates
            break;
        }
    }
}

// How deep the elements of `html` nest, at most, counting start and end tags as written: an
// HTML5 parse checks the open elements at each tag, which makes deep nesting quadratic.
bool nestsDeeperThan(string_view html, std::size_t limit)
{
    std::size_t depth = 0;
    for (std::size_t at = html.find('<'); at != string_view::npos; at = html.find('<', at + 1)) {
        const bool end = at + 1 < html.size() && html[at + 1] == '/';
        const std::size_t nameAt = at + (end ? 2 : 1);
        if (nameAt >= html.size() ||
            !((html[nameAt] | 0x20) >= 'a' && (html[nameAt] | 0x20) <= 'z'))
            continue;
        if (end) {
            depth -= depth > 0 ? 1 : 0;
            continue;
        }
        const std::size_t nameEnd = html.find_first_of(" \t\n\r\f/>", nameAt);
        std::string name(html.substr(nameAt, nameEnd - nameAt));
        std::transform(name.begin(), name.end(), name.begin(), asciiLower);
        const std::size_t close = html.find('>', nameAt);
        const bool selfClosing = close != string_view::npos && html[close - 1] == '/';
        if (!selfClosing && !listed(kVoid, name) && ++depth > limit)
            return true;
    }
    return false;
}

} // namespace

std::optional<std::string> sanitizeHtml(std::string_view html)
{
    // Browsers stop nesting at 512 levels; a document deeper than that is not worth the time.
    if (nestsDeeperThan(html, 512))
        return std::nullopt;
    Arena arena;
    GumboOptions options = kGumboDefaultOptions;
    options.allocator = &Arena::allocate;
    options.deallocator = &Arena::release;
    options.userdata = &arena;
    options.max_errors = 0;
    options.fragment_context = GUMBO_TAG_BODY;
    GumboOutput *output = gumbo_parse_with_options(&options, html.data(), html.size());
    std::string out;
    out.reserve(html.size());
    if (output && output->root && output->root->type == GUMBO_NODE_ELEMENT)
        serialize(out, output->root);
    return out;
}

} // namespace TarnGfm
