(() => {
  "use strict";

  // The page script of every reader page: draws diagrams, reports headings, scroll position,
  // search results and link clicks to the host, and runs the in-page search.

  let lastHeading = "";
  let scrollTimer = null;
  const searchState = { query: "", hits: [], currentIndex: -1 };

  const LIBRARY_ERROR = "流程图库加载失败";
  const RENDER_ERROR = "流程图渲染失败";
  const UNSEARCHED_PARENTS = new Set(["SCRIPT", "STYLE", "CODE", "PRE"]);

  function hasHost() {
    return Boolean(
      window.webkit && window.webkit.messageHandlers && window.webkit.messageHandlers.tarn,
    );
  }

  // Without the host's "tarn" channel (a browser, the PDF exporter) messages are dropped.
  function post(message) {
    if (hasHost()) {
      window.webkit.messageHandlers.tarn.postMessage(message);
    }
  }

  // http, https and mailto addresses, and relative ones. Browsers drop tabs and line breaks
  // from addresses and leading controls and spaces, so "java\tscript:" is a scheme too.
  function isOrdinaryLink(rawHref) {
    const cleaned = rawHref.replace(/[\t\n\r]/g, "").replace(/^[\u0000-\u0020]+/, "");
    const scheme = /^([A-Za-z][A-Za-z0-9+.-]*):/.exec(cleaned);
    return cleaned.trim() !== "" && (!scheme || /^(https?|mailto)$/i.test(scheme[1]));
  }

  function showMermaidError(diagram, label) {
    const output = diagram.querySelector(".mermaid-output");
    if (output) {
      output.innerHTML = `<div class="mermaid-error">${label}</div>`;
      // The stylesheet hides the output until a drawing is in place.
      output.style.display = "block";
    }
    diagram.classList.add("has-error");
  }

  function themeColor(styles, name, fallback) {
    const value = styles.getPropertyValue(name).trim();
    return value || fallback;
  }

  async function renderMermaidDiagrams() {
    const diagrams = Array.from(document.querySelectorAll(".mermaid-diagram"));
    if (diagrams.length === 0) {
      return true;
    }
    if (!window.mermaid) {
      diagrams.forEach((diagram) => showMermaidError(diagram, LIBRARY_ERROR));
      return false;
    }

    const styles = getComputedStyle(document.documentElement);
    window.mermaid.initialize({
      startOnLoad: false,
      securityLevel: "strict",
      theme: "base",
      themeVariables: {
        background: themeColor(styles, "--panel", "#ffffff"),
        primaryColor: themeColor(styles, "--quote", "#eef6ff"),
        primaryTextColor: themeColor(styles, "--text", "#172033"),
        primaryBorderColor: themeColor(styles, "--accent", "#2563a8"),
        lineColor: themeColor(styles, "--accent", "#2563a8"),
        secondaryColor: themeColor(styles, "--code", "#eef6ff"),
        tertiaryColor: themeColor(styles, "--panel", "#ffffff"),
        fontFamily: "-apple-system, BlinkMacSystemFont, Segoe UI, sans-serif",
      },
    });

    // One at a time, in document order: the library keeps global state while it draws.
    for (let index = 0; index < diagrams.length; index += 1) {
      const diagram = diagrams[index];
      const sourceElement = diagram.querySelector(".mermaid-source");
      const source = sourceElement ? sourceElement.textContent : "";
      const output = diagram.querySelector(".mermaid-output");
      if (!source.trim() || !output) {
        continue;
      }
      const givenId = diagram.getAttribute("data-mermaid-id") || `tarn-mermaid-${index}`;
      const renderId = givenId.replace(/[^A-Za-z0-9_-]/g, "-");
      try {
        const result = await window.mermaid.render(renderId, source);
        output.innerHTML = result.svg;
        if (typeof result.bindFunctions === "function") {
          result.bindFunctions(output);
        }
        diagram.classList.add("is-rendered");
      } catch (error) {
        // A failed render can leave the library's scratch element, with an error drawing,
        // at the end of the page.
        const scratch = document.getElementById(`d${renderId}`);
        if (scratch && scratch.parentElement === document.body) {
          scratch.remove();
        }
        showMermaidError(diagram, RENDER_ERROR);
      }
    }
    return true;
  }

  // The section being read is the last heading that has reached the reading line, 30% down
  // the view. It is looked up again after every scroll, whatever caused it (the wheel, a jump to
  // a heading, a link or a search hit), and on resizing, so it never stays behind.
  let headings = [];
  let headingFrame = 0;

  function currentHeading() {
    const line = window.innerHeight * 0.3;
    let low = 0;
    let high = headings.length;
    while (low < high) {
      const middle = (low + high) >> 1;
      if (headings[middle].getBoundingClientRect().top <= line) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    return low > 0 ? headings[low - 1] : null;
  }

  function reportHeading() {
    headingFrame = 0;
    const heading = currentHeading();
    if (heading && heading.id !== lastHeading) {
      lastHeading = heading.id;
      post({ type: "heading", id: heading.id });
    }
  }

  function reportHeadingNextFrame() {
    if (!headingFrame) {
      headingFrame = requestAnimationFrame(reportHeading);
    }
  }

  function setupHeadingTracking() {
    headings = Array.from(document.querySelectorAll("h1, h2, h3, h4, h5, h6")).filter(
      (heading) => heading.id,
    );
    window.addEventListener("scroll", reportHeadingNextFrame, { passive: true });
    window.addEventListener("resize", reportHeadingNextFrame);
    reportHeading();
  }

  function reportScrollWhenIdle() {
    if (scrollTimer) {
      clearTimeout(scrollTimer);
    }
    scrollTimer = setTimeout(() => {
      scrollTimer = null;
      post({ type: "scroll", y: window.scrollY || 0 });
    }, 500);
  }

  function resolvedHref(link, rawHref) {
    // HTML links resolve themselves; SVG links inside diagrams carry an animated string.
    if (typeof link.href === "string") {
      return link.href;
    }
    try {
      return new URL(rawHref, document.baseURI).href;
    } catch (error) {
      return "";
    }
  }

  function interceptLinkClick(event) {
    const target = event.target;
    const link = target && typeof target.closest === "function" ? target.closest("a") : null;
    if (!link) {
      return;
    }
    // Links drawn in diagrams may carry their target as xlink:href only.
    const rawHref =
      link.getAttribute("href") ||
      link.getAttributeNS("http://www.w3.org/1999/xlink", "href") ||
      "";
    if (rawHref.startsWith("#")) {
      return;
    }
    // A page without its host (an exported file in a browser) follows web, mail and relative
    // links itself.
    if (!hasHost() && isOrdinaryLink(rawHref)) {
      return;
    }
    // Every other click stays in the page: the host opens the schemes it knows, and any other
    // scheme (javascript:, data:, custom ones) goes nowhere.
    event.preventDefault();
    if (rawHref.trim() === "") {
      return;
    }
    const href = resolvedHref(link, rawHref) || rawHref;
    if (/^(https?:|mailto:|file:)/i.test(href)) {
      post({ type: "openLink", href });
    }
  }

  function postSearchState() {
    const total = searchState.hits.length;
    const current = searchState.currentIndex >= 0 ? searchState.currentIndex + 1 : 0;
    post({ type: "search", current, total });
  }

  function clearSearchMarks() {
    document.querySelectorAll("mark.tarn-search-hit").forEach((mark) => {
      mark.replaceWith(document.createTextNode(mark.textContent));
    });
    if (document.body) {
      document.body.normalize();
    }
    searchState.hits = [];
    searchState.currentIndex = -1;
  }

  function isSearchable(node) {
    const parent = node.parentElement;
    return Boolean(parent) && !UNSEARCHED_PARENTS.has(parent.tagName) &&
      !parent.closest(".mermaid-output");
  }

  // Lower-casing can lengthen a few letters (such as "İ"); then each position of the lower-cased
  // text is mapped back to the letter it came from, so marks keep the original text.
  function lowerCaseWithPositions(text) {
    const lower = text.toLowerCase();
    if (lower.length === text.length) {
      return { lower, position: (index) => index };
    }
    let mappedLower = "";
    const origin = [];
    let offset = 0;
    for (const letter of text) {
      const lowered = letter.toLowerCase();
      mappedLower += lowered;
      for (let i = 0; i < lowered.length; i += 1) {
        origin.push(offset);
      }
      offset += letter.length;
    }
    return {
      lower: mappedLower,
      position: (index) => (index < origin.length ? origin[index] : text.length),
    };
  }

  function markTextNode(node, needle) {
    const text = node.nodeValue;
    const { lower, position } = lowerCaseWithPositions(text);
    const fragment = document.createDocumentFragment();
    let done = 0;
    let found = lower.indexOf(needle);
    while (found !== -1) {
      const start = position(found);
      const end = position(found + needle.length);
      if (start > done) {
        fragment.append(text.slice(done, start));
      }
      const mark = document.createElement("mark");
      mark.className = "tarn-search-hit";
      mark.textContent = text.slice(start, end);
      fragment.append(mark);
      done = end;
      found = lower.indexOf(needle, found + needle.length);
    }
    if (done < text.length) {
      fragment.append(text.slice(done));
    }
    node.replaceWith(fragment);
  }

  function setCurrentSearchIndex(index, shouldScroll) {
    searchState.hits.forEach((hit) => hit.classList.remove("tarn-search-current"));
    const total = searchState.hits.length;
    if (total === 0) {
      searchState.currentIndex = -1;
      postSearchState();
      return;
    }
    searchState.currentIndex = ((index % total) + total) % total;
    const hit = searchState.hits[searchState.currentIndex];
    hit.classList.add("tarn-search-current");
    if (shouldScroll) {
      hit.scrollIntoView({ behavior: "smooth", block: "center", inline: "nearest" });
    }
    post({ type: "search", current: searchState.currentIndex + 1, total });
  }

  window.tarnApplySearch = (query, options = {}) => {
    clearSearchMarks();
    const cleanQuery = String(query ?? "").trim();
    searchState.query = cleanQuery;
    if (!cleanQuery || !document.body) {
      postSearchState();
      return;
    }

    const needle = cleanQuery.toLowerCase();
    const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
    const matches = [];
    // Collect first, mark afterwards: replacing nodes during the walk would derail it.
    for (let node = walker.nextNode(); node; node = walker.nextNode()) {
      if (isSearchable(node) && node.nodeValue.toLowerCase().includes(needle)) {
        matches.push(node);
      }
    }
    matches.forEach((node) => markTextNode(node, needle));

    searchState.hits = Array.from(document.querySelectorAll("mark.tarn-search-hit"));
    const scrollToFirst = Boolean(options) && options.scrollToFirst === true;
    setCurrentSearchIndex(searchState.hits.length > 0 ? 0 : -1, scrollToFirst);
  };

  window.tarnMoveSearch = (direction) => {
    if (searchState.hits.length === 0) {
      postSearchState();
      return;
    }
    const step = direction === "previous" ? -1 : 1;
    setCurrentSearchIndex(searchState.currentIndex + step, true);
  };

  window.tarnScrollTo = (id) => {
    const target = document.getElementById(String(id));
    if (target) {
      target.scrollIntoView({ behavior: "smooth", block: "start" });
    }
  };

  window.addEventListener("scroll", reportScrollWhenIdle, { passive: true });
  document.addEventListener("click", interceptLinkClick);

  window.tarnReadyDone = false;

  // Readiness is reached even when heading tracking throws.
  function markTarnReady() {
    try {
      setupHeadingTracking();
    } finally {
      window.tarnReadyDone = true;
    }
    return true;
  }

  window.tarnReady = renderMermaidDiagrams()
    .then(markTarnReady)
    .catch(() => markTarnReady());
})();