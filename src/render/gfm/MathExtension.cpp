// Math delimiters read by cmark-gfm's inline parser: it calls us at each unescaped "$", so "\$"
// stays a dollar sign and code spans keep their dollars. An opening "$" may not be followed by
// a space; a closing one may not follow a space nor precede a digit, so "costs $5 and $10"
// stays text. "$$…$$" may span lines.
#include "MathExtension.h"

#include <string>
#include <string_view>

namespace TarnGfm {
namespace {

struct MathTypes
{
    cmark_node_type inlineType;
    cmark_node_type displayType;
};

const MathTypes &types()
{
    static const MathTypes created{cmark_syntax_extension_add_node(1),
                                   cmark_syntax_extension_add_node(1)};
    return created;
}

// The inline parser's subject, read through the public calls only.
class Subject
{
public:
    explicit Subject(cmark_inline_parser *parser)
        : m_parser(parser)
    {}
    // The byte at `at`, or 0 past the end.
    unsigned char at(int at) const
    {
        cmark_inline_parser_set_offset(m_parser, at);
        return cmark_inline_parser_is_eof(m_parser) ? 0 : cmark_inline_parser_peek_char(m_parser);
    }

private:
    cmark_inline_parser *m_parser;
};

bool isSpace(unsigned char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool isDigit(unsigned char c)
{
    return c >= '0' && c <= '9';
}

// A scan that found no closer from some offset finds none from any later offset of the same
// block either; remembering that keeps "$ $ $ …" lines linear.
struct NoCloser
{
    const cmark_node *block = nullptr;
    int from = 0;
};
thread_local NoCloser noInlineCloser;
thread_local NoCloser noDisplayCloser;

bool knownToFail(const NoCloser &memo, const cmark_node *block, int from)
{
    return memo.block == block && from >= memo.from;
}

// The offset of the closing delimiter of a math span whose TeX starts at `begin`, or -1.
// Backslashes inside TeX escape the next byte, so "\$" never closes.
int findCloser(const Subject &subject, int begin, bool display)
{
    unsigned char previous = 0;
    for (int i = begin;; ++i) {
        const unsigned char c = subject.at(i);
        if (c == 0)
            return -1;
        if (c == '\\') {
            if (subject.at(i + 1) == 0)
                return -1;
            previous = subject.at(++i);
            continue;
        }
        if (c == '$' && i > begin) {
            if (display && subject.at(i + 1) == '$')
                return i;
            if (!display && !isSpace(previous) && !isDigit(subject.at(i + 1)))
                return i;
        }
        previous = c;
    }
}

// Tags for formulas that live in code nodes.
constexpr char kInlineInCell = 'i';
constexpr char kDisplayInCell = 'd';

bool isTableCell(cmark_node *block)
{
    return std::string_view(cmark_node_get_type_string(block)) == "table_cell";
}

cmark_node *mathNode(cmark_syntax_extension *extension, cmark_node *block, bool display,
                     const Subject &subject, int begin, int end)
{
    std::string tex;
    tex.reserve(std::size_t(end - begin));
    for (int i = begin; i < end; ++i)
        tex.push_back(char(subject.at(i)));
    if (isTableCell(block)) {
        cmark_node *code = cmark_node_new(CMARK_NODE_CODE);
        cmark_node_set_literal(code, tex.c_str());
        cmark_node_set_user_data(code,
                                 const_cast<char *>(display ? &kDisplayInCell : &kInlineInCell));
        return code;
    }
    cmark_node *node =
        cmark_node_new_with_mem_and_ext(display ? types().displayType : types().inlineType,
                                        cmark_get_default_mem_allocator(), extension);
    cmark_node_set_string_content(node, tex.c_str());
    return node;
}

cmark_node *matchMath(cmark_syntax_extension *extension, cmark_parser *, cmark_node *block,
                      unsigned char character, cmark_inline_parser *parser)
{
    if (character != '$')
        return nullptr; // every extension is asked about every character
    const int start = cmark_inline_parser_get_offset(parser);
    const Subject subject(parser);
    const bool display = subject.at(start + 1) == '$';
    const int begin = start + (display ? 2 : 1);
    NoCloser &memo = display ? noDisplayCloser : noInlineCloser;
    int close = -1;
    if (!knownToFail(memo, block, begin) && (display || !isSpace(subject.at(begin)))) {
        close = findCloser(subject, begin, display);
        if (close < 0)
            memo = {block, begin};
    }
    if (close < 0) {
        // Not math: "$$" stays text as a whole, so its second "$" opens nothing.
        cmark_inline_parser_set_offset(parser, start);
        if (!display)
            return nullptr;
        cmark_node *text = cmark_node_new(CMARK_NODE_TEXT);
        cmark_node_set_literal(text, "$$");
        cmark_inline_parser_set_offset(parser, start + 2);
        return text;
    }
    cmark_node *node = mathNode(extension, block, display, subject, begin, close);
    cmark_inline_parser_set_offset(parser, close + (display ? 2 : 1));
    return node;
}

const char *typeString(cmark_syntax_extension *, cmark_node *node)
{
    return cmark_node_get_type(node) == types().displayType ? "math_display" : "math_inline";
}

} // namespace

cmark_syntax_extension *mathExtension()
{
    static cmark_syntax_extension *const extension = [] {
        cmark_syntax_extension *created = cmark_syntax_extension_new("tarn-math");
        cmark_syntax_extension_set_match_inline_func(created, matchMath);
        cmark_syntax_extension_set_get_type_string_func(created, typeString);
        cmark_llist *specials = cmark_llist_append(cmark_get_default_mem_allocator(), nullptr,
                                                   reinterpret_cast<void *>('$'));
        cmark_syntax_extension_set_special_inline_chars(created, specials);
        return created;
    }();
    return extension;
}

Math mathOf(cmark_node *node)
{
    const cmark_node_type type = cmark_node_get_type(node);
    if (type == types().inlineType)
        return Math::inlineMath;
    if (type == types().displayType)
        return Math::displayMath;
    if (type != CMARK_NODE_CODE)
        return Math::none;
    const void *tag = cmark_node_get_user_data(node);
    return tag == &kInlineInCell    ? Math::inlineMath
           : tag == &kDisplayInCell ? Math::displayMath
                                    : Math::none;
}

std::string_view texOf(cmark_node *node)
{
    const char *text = cmark_node_get_type(node) == CMARK_NODE_CODE
                           ? cmark_node_get_literal(node)
                           : cmark_node_get_string_content(node);
    return text ? std::string_view(text) : std::string_view();
}

void resetMathScanner()
{
    noInlineCloser = {};
    noDisplayCloser = {};
}

} // namespace TarnGfm
