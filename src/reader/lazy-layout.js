(() => {
  "use strict";

  // Run by the reader view right after it opens a page for writing. The engine lays out and
  // paints only the blocks near the screen, so a long page shows at once. Every block above the
  // screen is laid out for real before the page scrolls to a position and once scrolling comes
  // to rest, so positions (reported, remembered and restored) mean the same text as on a page
  // laid out whole.

  // Headings stay laid out: they are small, and the page tracks the current one as it passes.
  // A block laid out lazily clips its painting to its own box, and list markers and task boxes
  // hang left of it: top-level lists take that room into their box (same text position).
  // A long unbroken word breaks instead of widening the whole page.
  const sheet = new CSSStyleSheet();
  sheet.replaceSync(
    "main.tarn-document > :not(h1, h2, h3, h4, h5, h6) {" +
      " content-visibility: auto; contain-intrinsic-size: auto 4em; }" +
      " main.tarn-document > :is(ul, ol) {" +
      " margin-left: calc(1.25rem - 3rem); padding-left: calc(1rem + 3rem); }" +
      " main.tarn-document { overflow-wrap: anywhere; }",
  );
  document.adoptedStyleSheets = [...document.adoptedStyleSheets, sheet];

  let main = null;
  let laidOut = 0; // the blocks before this index are laid out for real

  function blocks() {
    main = main || document.querySelector("main.tarn-document");
    return main ? main.children : null;
  }

  function layOutBefore(index) {
    const items = blocks();
    if (!items) {
      return;
    }
    const end = Math.min(index, items.length);
    for (; laidOut < end; laidOut += 1) {
      items[laidOut].style.contentVisibility = "visible";
    }
  }

  // Lays out every block that starts above `y` (page coordinates). The top of the first block
  // not laid out is exact, since all before it are; steps double so that a far target takes
  // few layouts.
  function layOutAbove(y) {
    const items = blocks();
    let step = 16;
    while (items && laidOut < items.length) {
      if (items[laidOut].getBoundingClientRect().top + window.scrollY >= y) {
        return;
      }
      layOutBefore(laidOut + step);
      step *= 2;
    }
  }

  function targetY(args, from) {
    const y = args[0] !== null && typeof args[0] === "object" ? args[0].top : args[1];
    return from + Number(y);
  }

  const scrollTo = window.scrollTo;
  window.scrollTo = function (...args) {
    const y = targetY(args, 0);
    if (Number.isFinite(y)) {
      layOutAbove(y + window.innerHeight);
    }
    return scrollTo.apply(this, args);
  };
  window.scroll = window.scrollTo;

  const scrollBy = window.scrollBy;
  window.scrollBy = function (...args) {
    const y = targetY(args, window.scrollY);
    if (Number.isFinite(y)) {
      layOutAbove(y + window.innerHeight);
    }
    return scrollBy.apply(this, args);
  };

  // Jumps to an element, keys, the scroll bar and the wheel can pass blocks by without laying
  // them out; the engine's scroll anchoring keeps the text on screen in place while they get
  // their real size.
  let settle = null;
  window.addEventListener(
    "scroll",
    () => {
      clearTimeout(settle);
      settle = setTimeout(() => layOutAbove(window.scrollY), 100);
    },
    { passive: true },
  );
})();
