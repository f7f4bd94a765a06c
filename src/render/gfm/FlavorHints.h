// Whether a document was written for a CommonMark parser: a quick look for the constructs that
// only the standard flavour shows as their authors meant.
#pragma once

#include <optional>
#include <string_view>

namespace FlavorHints {

enum class Construct
{
    frontMatter,
    underlinedHeading,
    nestedList,
    continuedListItem,
    linkReferenceDefinition,
    footnote,
    rawHtml,
    indentedCode,
};

// The first such construct from the top, or none. One pass over the lines outside code fences;
// a hint, not a parse: it may miss a construct or see one in an unusual layout.
std::optional<Construct> firstStandardConstruct(std::u16string_view markdown);

} // namespace FlavorHints
