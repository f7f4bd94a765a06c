(() => {
  "use strict";

  // Runs in the head of a standard-flavour page, before any image of the document exists: an
  // image that does not load (a remote one in the reader, a missing file, an address the
  // sanitizer took out) gives way to its alt text in a quiet frame. Listening on the document
  // catches every failure as it happens, from the first screen of a long page on and for images
  // the split view's preview puts in later; error events do not bubble, but pass the document
  // on their way down.

  function decodeURIComponentSafe(text) {
    try {
      return decodeURIComponent(text);
    } catch (error) {
      return text;
    }
  }

  function fileName(address) {
    const path = address.split(/[?#]/)[0];
    return decodeURIComponentSafe(path.slice(path.lastIndexOf("/") + 1));
  }

  function showAltText(image) {
    if (!image.isConnected || !image.closest("main")) {
      return;
    }
    const alt = (image.getAttribute("alt") || "").trim();
    const address = image.getAttribute("src") || "";
    const frame = document.createElement("span");
    frame.className = "tarn-image-fallback";
    frame.setAttribute("role", "img");
    frame.textContent = alt || fileName(address) || "图片";
    if (address) {
      frame.title = address;
    }
    image.replaceWith(frame);
  }

  document.addEventListener(
    "error",
    (event) => {
      if (event.target instanceof HTMLImageElement) {
        showAltText(event.target);
      }
    },
    true,
  );
  // For the page script: a finished image without pixels (an SVG drawing may have no size of
  // its own) is asked once, once the page is complete.
  window.tarnShowAltText = showAltText;
})();
