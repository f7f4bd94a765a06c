({
  // Run by the PDF exporter in its own copy of the page, never in the reader. The page text is
  // not changed: only the engine's parsed rules and its adopted style sheets.

  // The PDF shows the page as the reader does: the stylesheet's print rules (white body, narrower
  // column) are taken out. Paper cannot scroll sideways, so code lines wrap, long words break and
  // nothing that scrolls on screen is clipped at the page's edge.
  prepare() {
    for (const sheet of Array.from(document.styleSheets)) {
      let rules;
      try {
        rules = sheet.cssRules;
      } catch (error) {
        continue;
      }
      for (let i = rules.length - 1; i >= 0; i -= 1) {
        const rule = rules[i];
        if (
          rule instanceof CSSMediaRule &&
          Array.from(rule.media).some((medium) => medium.trim().toLowerCase() === "print")
        ) {
          sheet.deleteRule(i);
        }
      }
    }
    const sheet = new CSSStyleSheet();
    sheet.replaceSync(
      "main.tarn-document { overflow-wrap: anywhere; }\n" +
        "pre, pre code { white-space: pre-wrap; }\n" +
        "pre, .table-wrap, .mermaid-diagram { overflow: visible; }\n",
    );
    document.adoptedStyleSheets = [...document.adoptedStyleSheets, sheet];
    return true;
  },
})
