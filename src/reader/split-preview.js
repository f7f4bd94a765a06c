(() => {
  "use strict";

  // The split view's part of the preview page, run by the host after the page is ready and
  // after the morphing library (window.tarnMorphdom). The host hands each new draft in as
  // the fragment's HTML (rendered and sanitized like the page's own) with the first source
  // line of each top-level block. Unchanged blocks are left alone; changed ones are morphed
  // in place, so images stay, the scroll position stays, and math, code colours and diagrams
  // are drawn again only there. Only this page carries source lines: the reader page and the
  // exports never run this script.

  if (window.tarnPreview || typeof window.tarnMorphdom !== "function") {
    return Boolean(window.tarnPreview);
  }
  const morph = window.tarnMorphdom;
  const main = document.querySelector("main.tarn-document");
  if (!main) {
    return false;
  }

  // The script's own scroll, told apart from the user's by where it left the page.
  let ownScrollY = null;
  let scrollFrame = 0;
  let diagramQueue = Promise.resolve();

  function post(message) {
    const handlers = window.webkit && window.webkit.messageHandlers;
    if (handlers && handlers.tarn) {
      handlers.tarn.postMessage(message);
    }
  }

  // Blocks are keyed by their HTML: a block that only moved keeps its element.
  function keyBlocks(blocks, sources, lines) {
    const seen = new Map();
    for (let index = 0; index < blocks.length; index += 1) {
      const source = sources[index];
      const count = seen.get(source) || 0;
      seen.set(source, count + 1);
      const block = blocks[index];
      block.tarnSource = source;
      block.tarnKey = `${count}\u0000${source}`;
      block.tarnLine = index < lines.length ? lines[index] : null;
      if (block.tarnLine !== null) {
        block.setAttribute("data-source-line", String(block.tarnLine));
      } else {
        block.removeAttribute("data-source-line");
      }
    }
  }

  function parse(html) {
    const template = document.createElement("template");
    template.innerHTML = `<main class="tarn-document">${html}</main>`;
    const next = template.content.firstElementChild;
    const blocks = Array.from(next.children);
    return { next, blocks, sources: blocks.map((block) => block.outerHTML) };
  }

  async function drawDiagram(diagram) {
    const sourceElement = diagram.querySelector(".mermaid-source");
    const output = diagram.querySelector(".mermaid-output");
    const source = sourceElement ? sourceElement.textContent : "";
    if (!window.mermaid || !output || !source.trim()) {
      return;
    }
    const renderId = `tarn-preview-${Math.random().toString(36).slice(2)}`;
    try {
      const result = await window.mermaid.render(renderId, source);
      if (diagram.isConnected) {
        output.innerHTML = result.svg;
        diagram.classList.add("is-rendered");
      }
    } catch (error) {
      const scratch = document.getElementById(`d${renderId}`);
      if (scratch) {
        scratch.remove();
      }
      diagram.classList.add("has-error");
    }
  }

  function redraw(block) {
    // The standard flavour's page script draws math and code; a classic page has neither.
    const draw = window.tarnDraw;
    if (draw && window.katex) {
      block.querySelectorAll(".math-inline, .math-display").forEach(draw.math);
    }
    if (draw && window.hljs) {
      block.querySelectorAll("pre > code[class*='language-']").forEach(draw.code);
    }
    const diagrams = block.matches(".mermaid-diagram")
      ? [block]
      : Array.from(block.querySelectorAll(".mermaid-diagram"));
    // The library draws one diagram at a time.
    diagrams.forEach((diagram) => {
      diagramQueue = diagramQueue.then(() => drawDiagram(diagram));
    });
  }

  function blockTop(block) {
    return block.getBoundingClientRect().top + window.scrollY;
  }

  function lineOf(block) {
    const value = block.getAttribute("data-source-line");
    return value === null ? null : Number(value);
  }

  // The blocks that carry a source line, in page order (so in line order too).
  function linedBlocks() {
    return Array.from(main.children).filter((block) => lineOf(block) !== null);
  }

  // Where a source line sits on the page: a block's first line at its top, lines inside a
  // block between its top and the next block's.
  function offsetOfLine(line) {
    const blocks = linedBlocks();
    if (blocks.length === 0) {
      return 0;
    }
    let low = 0;
    let high = blocks.length;
    while (low < high) {
      const middle = (low + high) >> 1;
      if (lineOf(blocks[middle]) <= line) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    if (low === 0) {
      return blockTop(blocks[0]) * (line / Math.max(lineOf(blocks[0]), 1));
    }
    const block = blocks[low - 1];
    const top = blockTop(block);
    const first = lineOf(block);
    if (line === first) {
      return top;
    }
    const next = blocks[low];
    const bottom = next ? blockTop(next) : top + block.getBoundingClientRect().height;
    const span = next ? lineOf(next) - first : Math.max(line - first + 1, 1);
    return top + ((line - first) / span) * (bottom - top);
  }

  // The source line at the top of the view, the inverse of offsetOfLine.
  function lineAtTop() {
    const blocks = linedBlocks();
    const y = window.scrollY;
    let low = 0;
    let high = blocks.length;
    while (low < high) {
      const middle = (low + high) >> 1;
      if (blockTop(blocks[middle]) <= y + 1) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    if (low === 0) {
      return 0;
    }
    const block = blocks[low - 1];
    const top = blockTop(block);
    const next = blocks[low];
    if (!next) {
      return lineOf(block);
    }
    const bottom = blockTop(next);
    const fraction = bottom > top ? Math.min(Math.max((y - top) / (bottom - top), 0), 1) : 0;
    return lineOf(block) + Math.floor(fraction * (lineOf(next) - lineOf(block)));
  }

  // Changed blocks above the screen may move it: what scrolls until the next frames is the
  // update's, not the user's. Reading the position here would force a layout of the page.
  let settling = 0;
  function settleAfterUpdate() {
    settling += 1;
    requestAnimationFrame(() => requestAnimationFrame(() => {
      settling -= 1;
    }));
  }

  function onScroll() {
    if (scrollFrame) {
      return;
    }
    scrollFrame = requestAnimationFrame(() => {
      scrollFrame = 0;
      if (settling > 0) {
        ownScrollY = window.scrollY;
        return;
      }
      if (ownScrollY !== null && Math.abs(window.scrollY - ownScrollY) < 2) {
        return;
      }
      ownScrollY = null;
      post({ type: "previewLine", line: lineAtTop() });
    });
  }

  window.tarnPreview = {
    // The fragment the page was loaded from, so the blocks on the page get their keys.
    adopt(html, lines) {
      const { sources } = parse(html);
      const blocks = Array.from(main.children);
      keyBlocks(blocks, sources.slice(0, blocks.length), lines);
      return blocks.length === sources.length;
    },

    update(html, lines) {
      const { next, blocks, sources } = parse(html);
      keyBlocks(blocks, sources, lines);
      const changed = [];
      morph(main, next, {
        childrenOnly: true,
        getNodeKey: (node) => node.tarnKey || node.id,
        onBeforeElUpdated: (from, to) => {
          if (to.tarnKey === undefined) {
            return true;
          }
          if (from.tarnSource === to.tarnSource) {
            from.tarnKey = to.tarnKey;
            from.tarnLine = to.tarnLine;
            if (to.tarnLine === null) {
              from.removeAttribute("data-source-line");
            } else {
              from.setAttribute("data-source-line", String(to.tarnLine));
            }
            return false;
          }
          from.tarnSource = to.tarnSource;
          from.tarnKey = to.tarnKey;
          from.tarnLine = to.tarnLine;
          changed.push(from);
          return true;
        },
        onNodeAdded: (node) => {
          if (node.parentNode === main && node.nodeType === Node.ELEMENT_NODE) {
            changed.push(node);
          }
          return node;
        },
      });
      changed.forEach(redraw);
      settleAfterUpdate();
      window.tarnPreviewUpdates = (window.tarnPreviewUpdates || 0) + 1;
      return changed.length;
    },

    // Replaces `removed` blocks from index `first` on by the blocks of `html` (the only ones
    // that changed), morphing each old block into its successor, and renumbers every block's
    // source line. -1 when the page does not hold the blocks the host expects.
    patch(first, removed, html, lines, expected) {
      const children = main.children;
      if (children.length !== expected) {
        return -1;
      }
      const { blocks, sources } = parse(html);
      const old = Array.from(children).slice(first, first + removed);
      const changed = [];
      const paired = Math.min(old.length, blocks.length);
      for (let index = 0; index < paired; index += 1) {
        blocks[index].tarnSource = sources[index];
        const morphed = morph(old[index], blocks[index]);
        morphed.tarnSource = sources[index];
        morphed.tarnLine = undefined; // the morph took its source line away
        changed.push(morphed);
      }
      old.slice(paired).forEach((block) => block.remove());
      const before = children[first + paired] || null;
      blocks.slice(paired).forEach((block, index) => {
        block.tarnSource = sources[paired + index];
        main.insertBefore(block, before);
        changed.push(block);
      });
      for (let index = 0; index < children.length; index += 1) {
        const block = children[index];
        const line = index < lines.length ? lines[index] : null;
        if (block.tarnLine !== line) {
          block.tarnLine = line;
          if (line === null) {
            block.removeAttribute("data-source-line");
          } else {
            block.setAttribute("data-source-line", String(line));
          }
        }
      }
      changed.forEach(redraw);
      settleAfterUpdate();
      window.tarnPreviewUpdates = (window.tarnPreviewUpdates || 0) + 1;
      return changed.length;
    },

    scrollToLine(line) {
      // Blocks above the screen may be laid out only as the page scrolls past them, which
      // moves what is below: the place is measured again until it holds.
      for (let attempt = 0; attempt < 4; attempt += 1) {
        const y = Math.max(0, Math.round(offsetOfLine(line)));
        if (Math.abs(window.scrollY - y) < 1) {
          break;
        }
        window.scrollTo(0, y);
      }
      ownScrollY = window.scrollY;
      return ownScrollY;
    },

    lineAtTop,
  };

  window.addEventListener("scroll", onScroll, { passive: true });
  return true;
})();
