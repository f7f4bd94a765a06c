// Keeps a document's raw HTML inert: an allow-list sanitizer over a real HTML5 parse.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace TarnGfm {

// `html` (UTF-8, a fragment that goes inside <main>) parsed as a browser would, then written
// back with only allow-listed elements and attributes. Script, style, frames, objects, forms,
// meta, base and link go with their contents; other unknown elements give way to their
// children; event handlers, style attributes and addresses other than http, https, mailto and
// relative ones (and raster data: images) are dropped. The task-list checkbox survives as a
// disabled checkbox. Nothing when the elements nest deeper than a browser would nest them: the
// caller then leaves the raw HTML out.
std::optional<std::string> sanitizeHtml(std::string_view html);

} // namespace TarnGfm
