// Run-time resources: the diagram library file, the morphing library and the reader script.
#include "RendererInternal.h"

#include <unicode/ustring.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace TarnEmbedded {
std::string_view readerScriptUtf8();
}

namespace TarnRender {
namespace {

namespace fs = std::filesystem;

// Where the page resources (mermaid.min.js, KaTeX, highlight.js) may live, most specific first: an
// explicit override (tests), next to the installed program, then the build tree.
std::vector<fs::path> resourceFolders()
{
    std::vector<fs::path> folders;
    if (const char *overridden = std::getenv("TARN_RESOURCE_DIR"); overridden && *overridden)
        return {fs::path(overridden)};
    std::error_code error;
    const fs::path executable = fs::read_symlink("/proc/self/exe", error);
    if (!error) {
        folders.push_back(executable.parent_path() / TARN_INSTALL_RESOURCE_DIR_FROM_BIN);
        folders.push_back(executable.parent_path() / "resources");
    }
    folders.emplace_back(TARN_BUILD_RESOURCE_DIR);
    return folders;
}

std::optional<std::string> readFile(const fs::path &path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return std::nullopt;
    std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (in.bad())
        return std::nullopt;
    return bytes;
}

// Strict UTF-8: a file with invalid sequences counts as unreadable.
std::optional<u16> decodeUtf8(const std::string &bytes)
{
    u16 out(bytes.size(), u'\0');
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8(out.data(), int32_t(out.size()), &length, bytes.data(), int32_t(bytes.size()),
                  &status);
    if (U_FAILURE(status))
        return std::nullopt;
    out.resize(std::size_t(length));
    return out;
}

u16 loadMermaidScript()
{
    auto text = readResourceText("mermaid.min.js");
    if (!text)
        return {};
    // The library must not be able to close its script element early.
    replaceAll(*text, u"</script>", u"<\\/script>");
    return u"<script>\n" + *text + u"\n</script>";
}

} // namespace

std::optional<std::string> readResourceBytes(const std::string &relativePath)
{
    for (const fs::path &folder : resourceFolders()) {
        const fs::path path = folder / relativePath;
        std::error_code error;
        if (fs::is_regular_file(path, error))
            return readFile(path);
    }
    return std::nullopt;
}

std::optional<u16> readResourceText(const std::string &relativePath)
{
    const auto bytes = readResourceBytes(relativePath);
    return bytes ? decodeUtf8(*bytes) : std::nullopt;
}

} // namespace TarnRender

namespace MarkdownRenderer {

const std::u16string &inlineMermaidScript()
{
    static const std::u16string script = TarnRender::loadMermaidScript();
    return script;
}

const std::u16string &morphingLibrary()
{
    static const std::u16string script =
        TarnRender::readResourceText("morphdom/morphdom-umd.min.js").value_or(std::u16string());
    return script;
}

std::u16string_view readerScript()
{
    static const std::u16string script = TarnText::fromUtf8(TarnEmbedded::readerScriptUtf8());
    return script;
}

} // namespace MarkdownRenderer
