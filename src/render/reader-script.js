(() => {
  "use strict";

  // The page script of every reader page: draws diagrams, reports headings, scroll position,
  // search results and link clicks to the host, and runs the in-page search.

  let lastHeading = "";
  let scrollTimer = null;
  // `text` is the query as given, `query` trimmed, `needle` lower-cased; `matches` are the index
  // entries with hits and `ends` the running count of hits up to each.
  const searchState = {
    text: "",
    query: "",
    needle: "",
    matches: [],
    ends: [],
    total: 0,
    currentIndex: -1,
    currentMark: null,
    counted: true,
  };

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

  // In-page search. A long page is searched in slices of a few milliseconds, so that typing,
  // scrolling and stepping go on meanwhile, and a new query cancels the search in progress. The
  // hits near the screen are marked first; then all are counted and reported, and the rest are
  // marked. The page's searchable text nodes are read once into an index; the marks of a node
  // are kept with its entry, and taking them out puts the very node back.
  const SLICE_MS = 8;
  const NEAR_BLOCKS = 6; // blocks around the screen that are marked first

  let textIndex = null; // entries { node, lower, block, pieces, marks, needle }, document order
  let textBlocks = [];
  let indexReader = null;
  let indexObserver = null;
  let markedEntries = 0;

  let job = null;
  let slicePending = false;
  const slices = new MessageChannel();

  // Our own changes to the page are not news; anyone else's make the index stale.
  function forgetOwnChanges() {
    if (indexObserver) {
      indexObserver.takeRecords();
    }
  }

  function runSlice() {
    const current = job;
    const deadline = performance.now() + SLICE_MS;
    try {
      while (current && job === current) {
        if (current.next().done) {
          job = null;
        } else if (performance.now() >= deadline) {
          if (!slicePending) {
            slicePending = true;
            slices.port2.postMessage(0);
          }
          break;
        }
      }
    } catch (error) {
      job = null;
    } finally {
      forgetOwnChanges();
    }
  }

  slices.port1.onmessage = () => {
    slicePending = false;
    runSlice();
  };

  function startJob(generator) {
    job = generator;
    runSlice();
  }

  function postSearchState() {
    const current = searchState.currentIndex >= 0 ? searchState.currentIndex + 1 : 0;
    // The query lets the host drop a report that a newer query has overtaken.
    post({ type: "search", current, total: searchState.total, query: searchState.text });
  }

  function isSearchable(node) {
    const parent = node.parentElement;
    return Boolean(parent) && !UNSEARCHED_PARENTS.has(parent.tagName) &&
      !parent.closest(".mermaid-output") && node.nodeValue.trim() !== "";
  }

  function* buildIndex() {
    const main = document.querySelector("main.tarn-document");
    const blocks = main ? Array.from(main.children) : [document.body];
    indexObserver = new MutationObserver(dropIndex);
    indexObserver.observe(main || document.body, {
      childList: true,
      subtree: true,
      characterData: true,
    });
    const entries = [];
    for (let block = 0; block < blocks.length; block += 1) {
      const walker = document.createTreeWalker(blocks[block], NodeFilter.SHOW_TEXT);
      for (let node = walker.nextNode(); node; node = walker.nextNode()) {
        if (isSearchable(node)) {
          const lower = lowerCaseWithPositions(node.nodeValue).lower;
          entries.push({ node, lower, block, pieces: null, marks: null, needle: "" });
        }
      }
      yield;
    }
    textBlocks = blocks;
    textIndex = entries;
  }

  function* readIndex() {
    indexReader = indexReader || buildIndex();
    yield* indexReader;
  }

  // Someone else changed the page (a diagram drawn late): read its text again.
  function dropIndex() {
    if (textIndex) {
      textIndex.forEach(unmarkEntry);
    }
    if (indexObserver) {
      indexObserver.disconnect();
    }
    textIndex = null;
    indexReader = null;
    indexObserver = null;
    job = null;
    if (searchState.query) {
      window.tarnApplySearch(searchState.text, {});
    }
  }

  function unmarkEntry(entry) {
    if (!entry.pieces) {
      return;
    }
    const first = entry.pieces[0];
    if (first.parentNode) {
      first.parentNode.insertBefore(entry.node, first);
    }
    entry.pieces.forEach((piece) => piece.remove());
    entry.pieces = null;
    entry.marks = null;
    entry.needle = "";
    markedEntries -= 1;
  }

  function markEntry(entry, needle) {
    if (entry.needle === needle) {
      return;
    }
    unmarkEntry(entry);
    if (!needle || !entry.lower.includes(needle) || !entry.node.parentNode) {
      return;
    }
    const text = entry.node.nodeValue;
    const { lower, position } = lowerCaseWithPositions(text);
    const fragment = document.createDocumentFragment();
    const marks = [];
    let done = 0;
    for (let found = lower.indexOf(needle); found !== -1;
      found = lower.indexOf(needle, found + needle.length)) {
      const start = position(found);
      const end = position(found + needle.length);
      if (start > done) {
        fragment.append(text.slice(done, start));
      }
      const mark = document.createElement("mark");
      mark.className = "tarn-search-hit";
      mark.textContent = text.slice(start, end);
      fragment.append(mark);
      marks.push(mark);
      done = end;
    }
    if (done < text.length) {
      fragment.append(text.slice(done));
    }
    entry.pieces = Array.from(fragment.childNodes);
    entry.marks = marks;
    entry.needle = needle;
    markedEntries += 1;
    entry.node.replaceWith(fragment);
  }

  function countIn(lower, needle) {
    let count = 0;
    for (let found = lower.indexOf(needle); found !== -1;
      found = lower.indexOf(needle, found + needle.length)) {
      count += 1;
    }
    return count;
  }

  // The first index in [0, size) for which `test` holds, or size; `test` must hold from some
  // index on.
  function firstWhere(size, test) {
    let low = 0;
    let high = size;
    while (low < high) {
      const middle = (low + high) >> 1;
      if (test(middle)) {
        high = middle;
      } else {
        low = middle + 1;
      }
    }
    return low;
  }

  // The index entries of the blocks from `first` to `last`, with some blocks either side.
  function* markNear(first, last, needle) {
    const from = firstWhere(textIndex.length, (i) => textIndex[i].block >= first - NEAR_BLOCKS);
    const to = firstWhere(textIndex.length, (i) => textIndex[i].block > last + NEAR_BLOCKS);
    for (let i = from; i < to; i += 1) {
      markEntry(textIndex[i], needle);
      yield;
    }
  }

  function blocksOnScreen() {
    const size = textBlocks.length;
    const first = firstWhere(size, (i) => textBlocks[i].getBoundingClientRect().bottom > 0);
    const end = firstWhere(size, (i) => textBlocks[i].getBoundingClientRect().top >= innerHeight);
    return [first, Math.max(first, end - 1)];
  }

  function hitEntry(index) {
    const match = firstWhere(searchState.ends.length, (i) => searchState.ends[i] > index);
    const before = match > 0 ? searchState.ends[match - 1] : 0;
    return { entry: textIndex[searchState.matches[match]], offset: index - before };
  }

  function hitElement(index) {
    const { entry, offset } = hitEntry(index);
    markEntry(entry, searchState.needle);
    return entry.marks ? entry.marks[offset] : null;
  }

  function* searchJob(needle, scrollToFirst) {
    yield* readIndex();
    yield* markNear(...blocksOnScreen(), needle);
    if (needle) {
      for (let i = 0; i < textIndex.length; i += 1) {
        const count = countIn(textIndex[i].lower, needle);
        if (count > 0) {
          searchState.total += count;
          searchState.matches.push(i);
          searchState.ends.push(searchState.total);
        }
        if (i % 512 === 511) {
          yield;
        }
      }
    }
    searchState.counted = true;
    setCurrentSearchIndex(searchState.total > 0 ? 0 : -1, scrollToFirst);
    if (searchState.total > 0) {
      const block = hitEntry(0).entry.block;
      yield* markNear(block, block, needle);
    }
    for (let i = 0; i < textIndex.length; i += 1) {
      markEntry(textIndex[i], needle);
      yield;
    }
  }

  // A step asked for while the hits are being counted waits for the count, which is quick.
  function finishCounting() {
    try {
      while (job && !searchState.counted) {
        if (job.next().done) {
          job = null;
        }
      }
    } catch (error) {
      job = null;
    } finally {
      forgetOwnChanges();
    }
  }

  function setCurrentSearchIndex(index, shouldScroll) {
    if (searchState.currentMark) {
      searchState.currentMark.classList.remove("tarn-search-current");
      searchState.currentMark = null;
    }
    const total = searchState.total;
    if (total === 0) {
      searchState.currentIndex = -1;
      postSearchState();
      return;
    }
    searchState.currentIndex = ((index % total) + total) % total;
    const hit = hitElement(searchState.currentIndex);
    if (hit) {
      hit.classList.add("tarn-search-current");
      searchState.currentMark = hit;
      if (shouldScroll) {
        hit.scrollIntoView({ behavior: "smooth", block: "center", inline: "nearest" });
      }
    }
    postSearchState();
  }

  window.tarnApplySearch = (query, options = {}) => {
    const text = String(query ?? "");
    Object.assign(searchState, {
      text,
      query: text.trim(),
      needle: text.trim().toLowerCase(),
      matches: [],
      ends: [],
      total: 0,
      currentIndex: -1,
      counted: false,
    });
    if (searchState.currentMark) {
      searchState.currentMark.classList.remove("tarn-search-current");
      searchState.currentMark = null;
    }
    if (!document.body || (!searchState.needle && markedEntries === 0)) {
      // Nothing to find or take out: answer now, and go on reading the page's text.
      searchState.counted = true;
      postSearchState();
      if (document.body) {
        startJob(readIndex());
      }
      return;
    }
    const scrollToFirst = Boolean(options) && options.scrollToFirst === true;
    startJob(searchJob(searchState.needle, scrollToFirst));
  };

  window.tarnMoveSearch = (direction) => {
    finishCounting();
    if (searchState.total === 0) {
      postSearchState();
      return;
    }
    const step = direction === "previous" ? -1 : 1;
    setCurrentSearchIndex(searchState.currentIndex + step, true);
    forgetOwnChanges();
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