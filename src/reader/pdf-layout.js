({
  // Run by the PDF exporter in its own copy of the page, never in the reader. The page text is
  // not changed: only the engine's parsed rules, its adopted style sheets and inline styles.

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

  // Splits a page taller than `limit` CSS pixels into as few pages as it takes, each at most
  // `limit` tall, breaking only between blocks. A block taller than a page is looked into for
  // blocks of its own (list items, table rows); paragraphs, headings, code, images, diagrams
  // and table rows are never cut by a chosen break. Returns the height the pages need.
  paginate(limit) {
    const height = Math.max(document.body.scrollHeight, document.documentElement.scrollHeight);
    const main = document.querySelector("main.tarn-document");
    const whole = "p, h1, h2, h3, h4, h5, h6, pre, hr, img, tr, .mermaid-diagram";

    const isBlock = (element) => {
      const display = getComputedStyle(element).display;
      return (
        display !== "none" &&
        display !== "contents" &&
        !display.startsWith("inline") &&
        display !== "table-cell" &&
        element.getClientRects().length > 0
      );
    };
    // Where a page that starts with `element` begins: its own top margin is kept after a break.
    const startOf = (element) =>
      element.getBoundingClientRect().top +
      window.scrollY -
      (parseFloat(getComputedStyle(element).marginTop) || 0);
    // What a page that starts with `element` adds above it: a table broken between rows repeats
    // its header, and any other block gets the first page's top gap.
    const gap = main ? parseFloat(getComputedStyle(main).paddingTop) || 0 : 0;
    const addedAbove = (element) => {
      const table = element.matches("tr, tbody") ? element.closest("table") : null;
      if (table) {
        return table.tHead ? table.tHead.getBoundingClientRect().height : 0;
      }
      return Math.max(0, gap - (parseFloat(getComputedStyle(element).marginTop) || 0));
    };

    // Every place a page may start, in page order. A container's first block is left out (a
    // break there would also move the container's own top edge), and so is a block right after
    // a heading, which belongs with what it heads.
    const starts = [];
    const collect = (container) => {
      let previous = null;
      for (const child of container.children) {
        if (!isBlock(child)) {
          continue;
        }
        if (previous && !previous.matches("h1, h2, h3, h4, h5, h6")) {
          starts.push({ element: child, y: startOf(child), extra: addedAbove(child) });
        }
        previous = child;
        if (!child.matches(whole) && child.getBoundingClientRect().height > limit) {
          collect(child);
        }
      }
    };
    if (main) {
      collect(main);
    }
    starts.push({ element: null, y: height, extra: 0 });

    // Greedy: each page takes as many blocks as fit, which gives the fewest pages.
    const breaks = [];
    let start = { y: 0, extra: 0 };
    let best = null;
    let tallest = 0;
    const pageUpTo = (place) => place.y - start.y + start.extra;
    const breakAt = (place) => {
      breaks.push(place);
      tallest = Math.max(tallest, pageUpTo(place));
      start = place;
    };
    for (const place of starts) {
      if (pageUpTo(place) <= limit) {
        best = place.element ? place : best;
        continue;
      }
      // `place` lies past the end of this page: the page ends before the last block that fits,
      // unless what follows that block is taller than a page by itself. Such blocks flow from
      // this page on, and the engine breaks them between lines on pages of the full height.
      if (best && place.y - best.y + best.extra <= limit) {
        breakAt(best);
      } else {
        tallest = limit;
        if (place.element) {
          breakAt(place);
        }
      }
      best = place.element && pageUpTo(place) <= limit ? place : null;
    }
    tallest = Math.max(tallest, pageUpTo(starts[starts.length - 1]));
    for (const place of breaks) {
      place.element.style.breakBefore = "page";
      if (!place.element.matches("tr, tbody") && place.extra > 0) {
        place.element.style.marginTop = `${gap}px`;
      }
    }
    return Math.min(tallest, limit);
  },
})
