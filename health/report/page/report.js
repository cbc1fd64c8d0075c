// Draws the report out of the data in the page.
"use strict";
(() => {
  const {KINDS, GLYPHS, STATUS, words, number, seconds, element, badge, sheet, Table, unfolder, searchable, tile, facts,
    tools, tableSheet, palette, chartSheet} = zelPage;
  const data = JSON.parse(document.getElementById("data").textContent);

  // ------------------------------------------------------------------------------------------ summary

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
      facts([["means", group.means], ["next", group.next], ["hosts", hosts],
        ["look closer", data.fleet ? data.fleet.looks[index] : ""]]),
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
    const {named: colour, series: hue} = palette();
    const series = dots().map(({label, points}, index) => ({
      type: "line", label, data: points, showLine: false, pointRadius: 4, pointHoverRadius: 6,
      backgroundColor: hue(index),
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

  // ------------------------------------------------------------------------------------------ the page

  const sheets = [];
  const ofFleet = data.fleet ? zelFleet(data.fleet) : [];
  sheets.push(...ofFleet.slice(0, 1));
  if (data.matrix && data.matrix.rows.length > 0) {
    sheets.push(tableSheet("Cards and tests", matrix(), legend()));
  }
  if (data.groups.length > 0) {
    sheets.push(tableSheet("What did not pass, worst first", failures()));
  }
  sheets.push(...ofFleet.slice(1));
  const page = document.getElementById("page");
  page.replaceChildren(header(), ...alerts(), element("div", {class: "tiles"},
    data.fleet ? tile("nodes", data.fleet.nodes) : tile("hosts", data.counts.hosts), tile("cards", data.counts.cards), tile("tests", data.counts.tests)));
  if (sheets.length > 0) {
    page.append(tools(sheets, "host, card, test, message"), ...sheets.map(({node}) => node));
  }
  if (data.times.length > 0) {
    const PIXELS_A_TEST = 26;
    const PIXELS_AROUND = 110;
    const {node, draw} = chartSheet("How long the tests took", "how long each test took",
      data.times.length * PIXELS_A_TEST + PIXELS_AROUND, chartSettings);
    page.append(node);
    draw();
  }
})();
