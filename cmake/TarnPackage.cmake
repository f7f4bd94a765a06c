# The Debian package, made by CPack from the install rules: `cpack -G DEB` in a release build
# (scripts/package does it).
set(CPACK_GENERATOR "DEB")
set(CPACK_PACKAGE_NAME "tarn")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_VENDOR "The Tarn developers")
set(CPACK_PACKAGE_CONTACT "The Tarn developers <tarn@tarnapp.github.io>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Markdown reader and light editor")
# Debian wants the long description within 80 columns.
set(CPACK_PACKAGE_DESCRIPTION
    "Tarn opens Markdown files as tabs and shows them as a rendered page with an\n"
    "outline, in-page search, diagrams and four reading themes. It edits the\n"
    "Markdown text with formatting commands and find and replace, keeps unsaved\n"
    "edits safe across crashes, and exports HTML or a single-page PDF, also from\n"
    "the command line.")
string(REPLACE ";" "" CPACK_PACKAGE_DESCRIPTION "${CPACK_PACKAGE_DESCRIPTION}")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT) # tarn_<version>_<arch>.deb
set(CPACK_DEBIAN_PACKAGE_SECTION "text")
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://github.com/tarnapp/tarn")
# The libraries the binary links come from dpkg-shlibdeps; what it loads at run time does not
# show in its links: the web engine's resources and locales, Qt's Chinese
# translations, and the Wayland platform plugin.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libqt6webengine6-data, qt6-translations-l10n, qt6-wayland")
# Chinese text needs CJK fonts, and Chinese users type through fcitx5.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "fonts-noto-cjk, fcitx5-frontend-qt6")
include(CPack)
