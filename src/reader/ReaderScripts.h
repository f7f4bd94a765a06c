// Script texts the host evaluates in reader pages, and JavaScript literal encoding for them.
#pragma once

#include <QString>

namespace ReaderScripts {

// True once the page's resources are in (images with their sizes, so positions and heights are
// final) and the reader script has finished starting up; pages without the script need only
// the former. A page written into its shell can report "complete" early, so images are asked
// one by one. The host waits for the same through PageReadiness; a page opened without the host
// (an exported file) can only be asked.
inline constexpr char readinessTest[] =
    "document.readyState === \"complete\" &&\n"
    "  Array.from(document.images).every((image) => image.complete) &&\n"
    "  Boolean(window.tarnReadyDone || typeof window.tarnReady === \"undefined\");";

// The full height of the page in CSS pixels.
inline constexpr char heightMeasurement[] =
    "Math.max(\n"
    "  document.body ? document.body.scrollHeight : 0,\n"
    "  document.documentElement ? document.documentElement.scrollHeight : 0\n"
    ");";

// `text` as a double-quoted JavaScript string literal that reads back to exactly the same
// UTF-16 code units (lone surrogates included).
QString stringLiteral(QStringView text);

} // namespace ReaderScripts
