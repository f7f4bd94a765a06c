(() => {
  "use strict";

  // The standard flavour's page script, run just before the reader script: draws math with
  // KaTeX, colours code with highlight.js (what is near the screen first, the rest in short
  // slices), checks images that loaded without pixels, and holds the page's readiness
  // until the math and colours are all done, so a PDF has them.

  const SLICE_MS = 8;
  const katex = window.katex && typeof window.katex.render === "function" ? window.katex : null;
  const hljs = window.hljs && typeof window.hljs.highlight === "function" &&
      typeof window.hljs.getLanguage === "function" ? window.hljs : null;

  // The reader script sets `tarnReady` and `tarnReadyDone`; they read as done only once this
  // script's work is done too.
  let readerDone = false;
  let workDone = false;
  let readerPromise = Promise.resolve(true);
  let finishWork = null;
  const work = new Promise((resolve) => {
    finishWork = resolve;
  });
  Object.defineProperty(window, "tarnReadyDone", {
    configurable: true,
    get: () => readerDone && workDone,
    set: (value) => {
      readerDone = Boolean(value);
    },
  });
  Object.defineProperty(window, "tarnReady", {
    configurable: true,
    get: () => readerPromise,
    set: (promise) => {
      readerPromise = Promise.all([promise, work]).then(([value]) => value);
    },
  });

  function drawMath(element) {
    const source = element.textContent;
    try {
      katex.render(source, element, {
        displayMode: element.classList.contains("math-display"),
        throwOnError: true,
        trust: false,
        strict: "ignore",
        // No hidden MathML copy: the page's search would find text no one can see.
        output: "html",
        maxSize: 50,
        maxExpand: 1000,
      });
    } catch (error) {
      // KaTeX empties the element before it parses: the source goes back as it was written.
      element.textContent = source;
      element.classList.add("math-error");
      element.title = String(error && error.message ? error.message : error);
    }
  }

  // The fence's language is the document's text: it names a grammar only through getLanguage.
  function colourCode(element) {
    const token = Array.from(element.classList).find((name) => name.startsWith("language-"));
    const language = token ? token.slice("language-".length) : "";
    if (!language || !hljs.getLanguage(language)) {
      return;
    }
    const result = hljs.highlight(element.textContent, { language, ignoreIllegals: true });
    element.innerHTML = result.value;
    // The tokens become <code> elements instead of highlight.js's <span>s: the page's search
    // leaves code out by the element around the text, and coloured code is still code.
    element.querySelectorAll("span").forEach((span) => {
      const code = document.createElement("code");
      code.className = span.className;
      code.append(...span.childNodes);
      span.replaceWith(code);
    });
    element.classList.add("hljs");
  }

  // The split view's preview draws the blocks it changes with the same two functions.
  Object.defineProperty(window, "tarnDraw", {
    value: Object.freeze({ math: drawMath, code: colourCode }),
  });

  const pending = new Map(); // element -> what to do with it, in document order
  document.querySelectorAll(".math-inline, .math-display, pre > code[class*='language-']")
    .forEach((element) => {
      const isMath = element.classList.contains("math-inline") ||
        element.classList.contains("math-display");
      if (isMath ? katex : hljs) {
        pending.set(element, isMath ? drawMath : colourCode);
      }
    });

  function run(element) {
    const action = pending.get(element);
    if (!action) {
      return;
    }
    pending.delete(element);
    try {
      action(element);
    } catch (error) {
      // One block that fails leaves the others be.
    }
  }

  let observer = null;
  const slices = new MessageChannel();
  const order = Array.from(pending.keys());
  let next = 0;

  function finish() {
    if (observer) {
      observer.disconnect();
    }
    slices.port1.onmessage = null;
    workDone = true;
    finishWork(true);
  }

  // The rest, in document order, a few milliseconds at a time so the page stays responsive.
  function runSlice() {
    const deadline = performance.now() + SLICE_MS;
    while (next < order.length && performance.now() < deadline) {
      run(order[next]);
      next += 1;
    }
    if (next < order.length) {
      slices.port2.postMessage(0);
    } else {
      finish();
    }
  }

  if (order.length === 0) {
    finish();
  } else {
    if (typeof IntersectionObserver === "function") {
      observer = new IntersectionObserver((entries) => {
        entries.forEach((entry) => {
          if (entry.isIntersecting) {
            observer.unobserve(entry.target);
            run(entry.target);
          }
        });
      }, { rootMargin: "100% 0px" });
      order.forEach((element) => observer.observe(element));
    }
    slices.port1.onmessage = runSlice;
    slices.port2.postMessage(0);
  }

  // Failed images are framed as they fail (image-fallback.js, in the head); a finished one
  // without pixels is asked once (an SVG drawing may have no size of its own).
  const showAltText = window.tarnShowAltText;
  if (typeof showAltText === "function") {
    Array.from(document.querySelectorAll("main img")).forEach((image) => {
      if (image.complete && image.naturalWidth === 0) {
        image.decode().catch(() => showAltText(image));
      }
    });
  }
})();
