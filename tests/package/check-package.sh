#!/usr/bin/env bash
# Builds the Debian package from the build tree given as $1 and checks what it holds, its
# dependencies, and that its desktop metadata validates. Exits 77 (skipped) when the packaging
# tools are missing (CPack's dpkg-shlibdeps step needs file(1) too).
set -euo pipefail
build=$1
id=io.github.tarnapp.Tarn
for tool in cpack dpkg-deb dpkg-shlibdeps file appstreamcli desktop-file-validate; do
    if ! command -v "$tool" >/dev/null 2>&1; then
        echo "skipped: $tool is missing (scripts/setup installs the packaging tools)"
        exit 77
    fi
done
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT

if ! (cd "$build" && cpack -G DEB -B "$out" >"$out/cpack.log" 2>&1); then
    cat "$out/cpack.log"
    exit 1
fi
deb=$(ls "$out"/tarn_*_*.deb)
contents=$(dpkg-deb -c "$deb")
for file in usr/bin/tarn usr/share/tarn/mermaid.min.js usr/share/tarn/highlight.min.js \
    usr/share/tarn/katex/katex.min.js usr/share/tarn/katex/katex.min.css \
    usr/share/tarn/katex/fonts/KaTeX_Main-Regular.woff2 usr/share/tarn/morphdom/morphdom-umd.min.js \
    "usr/share/icons/hicolor/scalable/apps/$id.svg" "usr/share/applications/$id.desktop" \
    "usr/share/metainfo/$id.metainfo.xml" usr/share/man/man1/tarn.1.gz \
    usr/share/doc/tarn/copyright usr/share/doc/tarn/changelog.gz; do
    if ! grep -q " \./$file\$" <<<"$contents"; then
        echo "not in the package: /$file"
        exit 1
    fi
done
depends=$(dpkg-deb -f "$deb" Depends)
recommends=$(dpkg-deb -f "$deb" Recommends)
# From the binary's links (Qt, ICU), and what only runs at run time.
for needed in libqt6webenginecore6 libicu libgumbo1 libqt6webenginecore6-bin libqt6webengine6-data \
    qt6-translations-l10n qt6-wayland; do
    if ! grep -q "$needed" <<<"$depends"; then
        echo "Depends lacks $needed: $depends"
        exit 1
    fi
done
for wanted in fonts-noto-cjk fcitx5-frontend-qt6; do
    if ! grep -q "$wanted" <<<"$recommends"; then
        echo "Recommends lacks $wanted: $recommends"
        exit 1
    fi
done

dpkg-deb -x "$deb" "$out/root"
# The licences of what the pages carry come with it.
for notice in "Knut Sveidqvist" "Khan Academy" "Ivan Sagalaev" "Patrick Steele-Idem" \
    "Lucide Contributors"; do
    if ! grep -q "$notice" "$out/root/usr/share/doc/tarn/copyright"; then
        echo "the copyright file lacks $notice"
        exit 1
    fi
done
appstreamcli validate --no-net "$out/root/usr/share/metainfo/$id.metainfo.xml"
desktop-file-validate "$out/root/usr/share/applications/$id.desktop"
version=$("$out/root/usr/bin/tarn" --version)
if ! grep -q "$(dpkg-deb -f "$deb" Version)" <<<"$version"; then
    echo "the packaged tarn says \"$version\""
    exit 1
fi
echo "$(basename "$deb"): $(wc -l <<<"$contents") entries, checked"
