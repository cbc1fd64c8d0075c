// What pages are made of. Texts of cards become text nodes, and nothing else.
"use strict";
const zelPage = (() => {
  const KINDS = {
    healthy: "good", passed: "good", failed: "bad", timed_out: "bad", crashed: "bad", degraded: "warn",
    unknown: "warn", setup: "warn", broken_off: "warn", lost: "bad", not_ended: "warn", skipped: "idle", not_run: "idle",
    unsupported: "idle", not_asked: "idle",
  };
  const GLYPHS = {
    passed: "\u2713", failed: "\u2717", timed_out: "T", crashed: "C", setup: "!", skipped: "s", not_run: "\u2013",
    unsupported: "u", unknown: "?", healthy: "\u2713", degraded: "d", not_ended: "\u2013",
  };
  const STATUS = ["good", "warn", "bad", "warn"];

  const words = (verdict) => verdict.replace(/_/g, " ");
  const number = (value) => value.toLocaleString("en-US");
  const seconds = (value) => value.toFixed(value < 10 ? 2 : 1);

  // element("td", {class: "name"}, "text", node, ...)
  function element(name, attributes, ...children) {
    const made = document.createElement(name);
    for (const [key, value] of Object.entries(attributes || {})) {
      if (typeof value === "function") {
        made.addEventListener(key, value);
      } else if (value !== undefined) {
        made.setAttribute(key, value);
      }
    }
    for (const child of children) {
      if (child instanceof Node) {
        made.appendChild(child);
      } else if (child !== undefined && child !== "") {
        made.appendChild(document.createTextNode(String(child)));
      }
    }
    return made;
  }

  const badge = (verdict) => element("span", {class: `badge ${KINDS[verdict] || "warn"}`}, words(verdict));

  function sheet(title, ...children) {
    return element("section", {class: "sheet"}, title ? element("h2", {}, title) : undefined, ...children);
  }

  // A table whose columns sort when their titles are clicked, and whose rows can be filtered and unfolded.
  // columns: {title, value(row), cell(row, unfold), class, upright}; rows: {search, verdicts, detail()}
  class Table {
    constructor(id, columns, rows, className) {
      this.columns = columns;
      this.sorted = -1;
      this.up = true;
      this.bodies = rows.map((row) => this.body(row));
      this.titles = columns.map((column, index) =>
        element("th", {scope: "col", class: column.upright ? "upright" : column.class},
          element("button", {type: "button", click: () => this.sort(index)}, column.title)));
      this.node = element("table", {id, class: className}, element("thead", {}, element("tr", {}, ...this.titles)),
        ...this.bodies.map((body) => body.node));
    }

    body(row) {
      const body = {row, node: element("tbody", {}), buttons: []};
      const unfold = row.detail ? () => this.unfold(body) : null;
      const cells = this.columns.map((column) => element("td", {class: column.class}, column.cell(row, unfold)));
      body.node.appendChild(element("tr", {}, ...cells));
      return body;
    }

    unfold(body) {
      const open = body.node.children.length > 1;
      if (open) {
        body.node.lastChild.remove();
      } else {
        const inner = element("div", {class: "inner"}, ...body.row.detail());
        body.node.appendChild(
          element("tr", {class: "detail"}, element("td", {colspan: this.columns.length}, inner)));
      }
      for (const button of body.node.querySelectorAll(".unfold")) {
        button.setAttribute("aria-expanded", String(!open));
      }
    }

    sort(index) {
      this.up = this.sorted === index ? !this.up : true;
      this.sorted = index;
      const value = this.columns[index].value;
      const compare = (one, other) => typeof one === "number" && typeof other === "number"
        ? one - other : String(one).localeCompare(String(other), "en", {numeric: true});
      this.bodies.sort((one, other) => (this.up ? 1 : -1) * compare(value(one.row), value(other.row)));
      for (const body of this.bodies) {
        this.node.appendChild(body.node);
      }
      this.titles.forEach((title, at) => {
        if (at === index) {
          title.setAttribute("aria-sort", this.up ? "ascending" : "descending");
        } else {
          title.removeAttribute("aria-sort");
        }
      });
    }

    filter(text, verdict) {
      let shown = 0;
      for (const {row, node} of this.bodies) {
        node.hidden = !row.search.includes(text) || (verdict !== "" && !row.verdicts.includes(verdict));
        shown += node.hidden ? 0 : 1;
      }
      return shown;
    }
  }

  const unfolder = (text, unfold) => unfold
    ? element("button", {type: "button", class: "unfold", "aria-expanded": "false", click: unfold}, text) : text;

  const searchable = (...texts) => texts.flat().join("\n").toLowerCase();

  function tile(title, counts) {
    const entries = Object.entries(counts).filter(([, count]) => count > 0);
    const all = entries.reduce((sum, [, count]) => sum + count, 0);
    const bar = element("div", {class: "bar", "aria-hidden": "true"}, ...entries.map(([verdict, count]) => {
      const part = element("span", {class: KINDS[verdict] || "warn"});
      part.style.flexGrow = String(count);
      return part;
    }));
    const key = entries.map(([verdict, count]) => element("li", {}, badge(verdict), ` ${number(count)}`));
    return element("section", {class: "sheet"},
      element("span", {class: "number"}, number(all)), title, bar, element("ul", {class: "key"}, ...key));
  }

  function facts(pairs) {
    const shown = pairs.filter(([, text]) => text);
    return element("dl", {class: "facts"},
      ...shown.flatMap(([name, text]) => [element("dt", {}, name), element("dd", {}, text)]));
  }

  function tools(tables, placeholder) {
    const verdicts = [...new Set(tables.flatMap(({table}) => table.bodies.flatMap(({row}) => row.verdicts)))].sort();
    const text = element("input", {id: "filter", type: "search", placeholder});
    const verdict = element("select", {id: "verdict"}, element("option", {value: ""}, "all"),
      ...verdicts.map((name) => element("option", {value: name}, words(name))));
    const apply = () => {
      for (const {table, none} of tables) {
        none.hidden = table.filter(text.value.trim().toLowerCase(), verdict.value) > 0;
      }
    };
    text.addEventListener("input", apply);
    verdict.addEventListener("change", apply);
    return element("section", {class: "sheet tools"}, element("label", {}, "filter", text),
      element("label", {}, "verdict", verdict));
  }

  function tableSheet(title, table, ...more) {
    const none = element("p", {class: "soft", hidden: ""}, "The filter leaves nothing.");
    return {table, none, node: sheet(title, element("div", {class: "scroll"}, table.node), none, ...more)};
  }

  // The colours that a chart needs, as the page has them now: of series, and of what the page names.
  function palette() {
    const style = getComputedStyle(document.documentElement);
    const named = (name) => style.getPropertyValue(name).trim();
    const hues = [210, 25, 140, 280, 50, 330, 180, 0];
    const dark = matchMedia("(prefers-color-scheme: dark)").matches && !matchMedia("print").matches;
    return {named, series: (index) => `hsl(${hues[index % hues.length]} 70% ${dark ? 65 : 42}%)`};
  }

  // A chart that is drawn anew when the page's colours change. {node, draw}: it can be drawn once it is in the page.
  function chartSheet(title, label, height, settings, ...above) {
    const canvas = element("canvas", {id: "chart", role: "img", "aria-label": label});
    const frame = element("div", {class: "chart"}, canvas);
    frame.style.height = `${height}px`;
    let chart = null;
    const draw = () => {
      if (chart) {
        chart.destroy();
      }
      chart = new Chart(canvas, settings());
    };
    for (const media of ["(prefers-color-scheme: dark)", "print"]) {
      matchMedia(media).addEventListener("change", draw);
    }
    return {node: sheet(title, ...above, frame), draw};
  }

  return {KINDS, GLYPHS, STATUS, words, number, seconds, element, badge, sheet, Table, unfolder, searchable, tile, facts,
    tools, tableSheet, palette, chartSheet};
})();
