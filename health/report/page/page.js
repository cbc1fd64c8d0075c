// Draws the report out of the data in the page. Texts of cards become text nodes, and nothing else.
"use strict";
(() => {
  const data = JSON.parse(document.getElementById("data").textContent);

  const KINDS = {
    healthy: "good", passed: "good", failed: "bad", timed_out: "bad", crashed: "bad", degraded: "warn",
    unknown: "warn", setup: "warn", broken_off: "warn", skipped: "idle", not_run: "idle", unsupported: "idle",
  };
  const GLYPHS = {
    passed: "\u2713", failed: "\u2717", timed_out: "T", crashed: "C", setup: "!", skipped: "s", not_run: "\u2013",
    unsupported: "u", unknown: "?",
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

  // ------------------------------------------------------------------------------------------ summary

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

  function header() {
    const runs = `${number(data.counts.runs)} ${data.counts.runs === 1 ? "run" : "runs"}`;
    return element("header", {}, element("h1", {}, "ZEL cards"),
      element("p", {class: "soft"}, `Report of ${runs}, made ${data.made} by ${data.program}`));
  }

  function list(texts, all) {
    const more = all - texts.length;
    return element("ul", {}, ...texts.map((text) => element("li", {}, text)),
      more > 0 ? element("li", {}, `and ${number(more)} more`) : undefined);
  }

  function alerts() {
    const shown = [];
    if (data.problems.count > 0) {
      shown.push(element("section", {class: "sheet alert", id: "problems"},
        element("h2", {}, "Not all of the streams could be read"), list(data.problems.texts, data.problems.count)));
    }
    if (data.counts.brokenOff > 0) {
      const texts = data.brokenOff.map(({host, run, last}) => `${host}: run ${run}, last heard of ${last}`);
      shown.push(element("section", {class: "sheet alert", id: "broken-off"},
        element("h2", {}, "Runs that were broken off"),
        element("p", {}, "What would have become of them, nobody knows."), list(texts, data.counts.brokenOff)));
    }
    return shown;
  }

  // ------------------------------------------------------------------------------------------ failures

  function facts(pairs) {
    const shown = pairs.filter(([, text]) => text);
    return element("dl", {class: "facts"},
      ...shown.flatMap(([name, text]) => [element("dt", {}, name), element("dd", {}, text)]));
  }

  function evidence(incident) {
    const parts = [["standard output", incident.out], ["standard error", incident.err]].filter(([, lines]) => lines);
    if (parts.length === 0) {
      return undefined;
    }
    return element("details", {class: "evidence"}, element("summary", {}, "evidence"),
      ...parts.flatMap(([name, lines]) => [element("p", {class: "soft"}, name), element("pre", {}, lines.join("\n"))]));
  }

  function incidentNode(incident, withText) {
    const group = data.groups[incident.g];
    return element("div", {class: "incident"}, badge(group.verdict),
      ` ${incident.host} ${incident.card} ${incident.test} `,
      withText ? group.text : "",
      element("span", {class: "soft"}, ` ${incident.test ? seconds(incident.seconds) + " s, " : ""}${incident.time}`),
      incident.note ? element("p", {}, `waiver: ${incident.note}`) : undefined,
      incident.mend ? element("p", {}, `next: ${incident.mend}`) : undefined, evidence(incident));
  }

  function groupDetail(group, index) {
    const incidents = data.incidents.filter((incident) => incident.g === index);
    const more = group.hostCount - group.hosts.length;
    const hosts = group.hosts.join(", ") + (more > 0 ? ` and ${number(more)} more` : "");
    const notShown = group.count - incidents.length;
    return [
      facts([["means", group.means], ["next", group.next], ["hosts", hosts]]),
      ...incidents.map((incident) => incidentNode(incident, false)),
      notShown > 0 ? element("p", {class: "soft"}, `${number(notShown)} more of them stand in the streams.`) : undefined,
    ];
  }

  function failures() {
    const rows = data.groups.map((group, index) => ({
      group, index, verdicts: [group.verdict],
      search: searchable(group.text, group.verdict, words(group.verdict), group.tests, group.hosts,
        data.incidents.filter((incident) => incident.g === index).map(({card, host}) => `${host} ${card}`)),
      detail: () => groupDetail(group, index),
    }));
    const worst = (row) => [2, 3, 1, 0].indexOf(row.group.status);
    return new Table("failures", [
      {title: "verdict", value: worst, class: "name",
        cell: ({group}) => element("span", {class: `badge ${STATUS[group.status]}`}, words(group.verdict))},
      {title: "what was seen", value: ({group}) => group.text, class: "text",
        cell: ({group}, unfold) => unfolder(group.text || "(no text)", unfold)},
      {title: "tests", value: ({group}) => group.tests.join(" "), cell: ({group}) => group.tests.join(", ")},
      {title: "hosts", value: ({group}) => group.hostCount, class: "number",
        cell: ({group}) => number(group.hostCount)},
      {title: "times", value: ({group}) => group.count, class: "number", cell: ({group}) => number(group.count)},
    ], rows);
  }

  // ------------------------------------------------------------------------------------------ cards and tests

  function cardDetail(row) {
    const incidents = data.incidents.filter(
      ({host, run, card}) => host === row.host && run === row.run && card === row.card);
    return [
      facts([["host", row.host], ["run", row.run], ["PCIe address", row.pcie], ["uuid", row.uuid],
        ["generation", row.generation], ["memory", row.memory ? `${row.memory / 2 ** 20} MiB` : ""],
        ["seconds", seconds(row.seconds)]]),
      ...incidents.map((incident) => incidentNode(incident, true)),
    ];
  }

  const isOneHost = !data.matrix || new Set(data.matrix.rows.map(({host}) => host)).size < 2;

  function matrixCell(row, index, unfold) {
    const cell = row.cells[index];
    if (!cell) {
      return "";
    }
    const [verdict, time, times] = cell;
    const title = `${data.matrix.tests[index]}: ${words(verdict)}, ${seconds(time)} s` +
      (times > 1 ? `, the worst of ${times}` : "");
    const kind = KINDS[verdict] || "warn";
    return verdict === "passed"
      ? element("span", {class: kind, title}, GLYPHS[verdict])
      : element("button", {type: "button", class: kind, title, click: unfold}, GLYPHS[verdict] || "?");
  }

  function matrix() {
    const badness = Object.keys(GLYPHS).length;
    const order = ["passed", "unsupported", "skipped", "not_run", "unknown", "setup", "crashed", "timed_out", "failed"];
    const rows = data.matrix.rows.map((row) => ({
      ...row, verdicts: [row.verdict, ...row.cells.filter(Boolean).map(([verdict]) => verdict)],
      search: searchable(row.host, row.card, row.pcie, row.uuid, row.verdict, words(row.verdict),
        data.matrix.tests.filter((test, index) => row.cells[index] && row.cells[index][0] !== "passed")),
      detail: () => cardDetail(row),
    }));
    const columns = [
      {title: "card", value: (row) => row.card, class: "name", cell: (row, unfold) => unfolder(row.card, unfold)},
      {title: "verdict", value: (row) => row.verdict, class: "name", cell: (row) => badge(row.verdict)},
      ...(isOneHost ? [] : [{title: "host", value: (row) => row.host, class: "name", cell: (row) => row.host}]),
      ...data.matrix.tests.map((test, index) => ({
        title: test, upright: true, class: "cell",
        value: (row) => row.cells[index] ? order.indexOf(row.cells[index][0]) : -badness,
        cell: (row, unfold) => matrixCell(row, index, unfold),
      })),
      {title: "seconds", value: (row) => row.seconds, class: "number", cell: (row) => seconds(row.seconds)},
      {title: "PCIe address", value: (row) => row.pcie, class: "name", cell: (row) => row.pcie},
    ];
    return new Table("matrix", columns, rows, "matrix");
  }

  function legend() {
    const known = Object.keys(GLYPHS).filter((verdict) =>
      data.matrix.rows.some(({cells}) => cells.some((cell) => cell && cell[0] === verdict)));
    return element("ul", {class: "legend"}, ...known.map((verdict) =>
      element("li", {}, element("span", {class: `badge ${KINDS[verdict] || "warn"}`}, GLYPHS[verdict]),
        ` ${words(verdict)}`)));
  }

  // ------------------------------------------------------------------------------------------ times

  const FEW_CARDS = 8;

  // For few cards each is a dot, and one that differs from its kind stands out.
  function dots() {
    const rows = data.matrix ? data.matrix.rows : [];
    if (rows.length === 0 || rows.length > FEW_CARDS) {
      return [{label: "median", points: data.times.map(({median}) => median)}];
    }
    return rows.map((row) => ({
      label: isOneHost ? row.card : `${row.host} ${row.card}`,
      points: data.times.map(({test}) => {
        const cell = row.cells[data.matrix.tests.indexOf(test)];
        return cell && ["passed", "failed", "timed_out"].includes(cell[0]) ? cell[1] : null;
      }),
    }));
  }

  function chartSettings() {
    const style = getComputedStyle(document.documentElement);
    const colour = (name) => style.getPropertyValue(name).trim();
    const hues = [210, 25, 140, 280, 50, 330, 180, 0];
    const dark = matchMedia("(prefers-color-scheme: dark)").matches && !matchMedia("print").matches;
    const series = dots().map(({label, points}, index) => ({
      type: "line", label, data: points, showLine: false, pointRadius: 4, pointHoverRadius: 6,
      backgroundColor: `hsl(${hues[index % hues.length]} 70% ${dark ? 65 : 42}%)`,
      borderColor: colour("--sheet"), pointBorderWidth: 1,
    }));
    series.push({
      type: "bar", label: "fastest to slowest", data: data.times.map(({fastest, slowest}) => [fastest, slowest]),
      backgroundColor: colour("--idle-ground"), borderColor: colour("--line"), borderWidth: 1, barThickness: 10,
      borderSkipped: false,
    });
    const axis = {ticks: {color: colour("--ink")}, grid: {color: colour("--line")}};
    return {
      type: "bar",
      data: {labels: data.times.map(({test}) => test), datasets: series},
      options: {
        indexAxis: "y", animation: false, maintainAspectRatio: false,
        scales: {
          x: {...axis, type: "logarithmic", title: {display: true, text: "seconds", color: colour("--ink")},
            ticks: {...axis.ticks, maxTicksLimit: 12, callback: (value) =>
              Number.isInteger(Math.round(Math.log10(value) * 1e6) / 1e6) ? `${value}` : ""}},
          y: {...axis, ticks: {...axis.ticks, autoSkip: false}},
        },
        plugins: {legend: {position: "bottom", labels: {color: colour("--ink"), boxWidth: 12}}},
      },
    };
  }

  function chartSheet() {
    const PIXELS_A_TEST = 26;
    const PIXELS_AROUND = 110;
    const canvas = element("canvas", {id: "chart", role: "img", "aria-label": "how long each test took"});
    const frame = element("div", {class: "chart"}, canvas);
    frame.style.height = `${data.times.length * PIXELS_A_TEST + PIXELS_AROUND}px`;
    let chart = null;
    const draw = () => {
      if (chart) {
        chart.destroy();
      }
      chart = new Chart(canvas, chartSettings());
    };
    for (const media of ["(prefers-color-scheme: dark)", "print"]) {
      matchMedia(media).addEventListener("change", draw);
    }
    return {node: sheet("How long the tests took", frame), draw};
  }

  // ------------------------------------------------------------------------------------------ the page

  function tools(tables) {
    const verdicts = [...new Set(tables.flatMap(({table}) => table.bodies.flatMap(({row}) => row.verdicts)))].sort();
    const text = element("input", {id: "filter", type: "search", placeholder: "host, card, test, message"});
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

  const sheets = [];
  if (data.matrix && data.matrix.rows.length > 0) {
    sheets.push(tableSheet("Cards and tests", matrix(), legend()));
  }
  if (data.groups.length > 0) {
    sheets.push(tableSheet("What did not pass, worst first", failures()));
  }
  const page = document.getElementById("page");
  page.replaceChildren(header(), ...alerts(), element("div", {class: "tiles"},
    tile("hosts", data.counts.hosts), tile("cards", data.counts.cards), tile("tests", data.counts.tests)));
  if (sheets.length > 0) {
    page.append(tools(sheets), ...sheets.map(({node}) => node));
  }
  if (data.times.length > 0) {
    const {node, draw} = chartSheet();
    page.append(node);
    draw();
  }
})();
