// Draws the history out of the data in the page.
"use strict";
(() => {
  const {KINDS, GLYPHS, words, number, seconds, element, badge, Table, unfolder, searchable, tile, facts, tools, tableSheet,
    palette, chartSheet} = zelPage;
  const data = JSON.parse(document.getElementById("data").textContent);

  const minute = (time) => time.slice(0, 16).replace("T", " ");
  const title = ({test, options}) => options ? `${test} ${options}` : test;

  function header() {
    const ended = data.not_ended > 0 ? `, ${number(data.not_ended)} of which did not end or still go on` : "";
    return element("header", {}, element("h1", {}, "ZEL cards: history"),
      element("p", {class: "soft"}, `${number(data.runs)} ${data.runs === 1 ? "run" : "runs"} from ${minute(data.first)} to ` +
        `${minute(data.last)} UTC${ended}; made ${data.made} by ${data.program}`));
  }

  // Of the last runs each is a mark, the latest at the right.
  function strip(verdicts) {
    return element("span", {class: "strip"}, ...verdicts.map((verdict) =>
      element("span", {class: KINDS[verdict] || "warn", title: words(verdict)}, GLYPHS[verdict] || "?")));
  }

  const badCount = (verdicts) => verdicts.filter((verdict) => KINDS[verdict] === "bad").length;

  function tiles() {
    const now = {};
    const runs = {};
    for (const card of data.cards) {
      const verdict = card.last[card.last.length - 1];
      now[verdict] = (now[verdict] || 0) + 1;
      for (const [name, count] of Object.entries(card.verdicts)) {
        runs[name] = (runs[name] || 0) + count;
      }
    }
    const ended = data.not_ended > 0 ? {...data.verdicts, not_ended: data.not_ended} : data.verdicts;
    return element("div", {class: "tiles"}, tile(data.runs === 1 ? "run" : "runs", ended), tile("cards, as of their last runs", now), tile("verdicts of cards", runs));
  }

  // ------------------------------------------------------------------------------------------ cards

  function cards() {
    const verdicts = ["healthy", "degraded", "failed", "unknown", "not_ended"].filter((verdict) =>
      data.cards.some((card) => card.verdicts[verdict]));
    const rows = data.cards.map((card) => ({
      ...card, counts: card.verdicts, verdicts: Object.keys(card.verdicts),
      search: searchable(card.card, card.pcie, card.uuid, Object.keys(card.verdicts).map(words)),
      detail: () => [facts([["PCIe address", card.pcie], ["uuid", card.uuid], ["last run", card.time]])],
    }));
    return new Table("cards", [
      {title: "card", value: (row) => row.title, class: "name", cell: (row, unfold) => unfolder(row.title, unfold)},
      {title: "PCIe address", value: (row) => row.pcie, class: "name", cell: (row) => row.pcie},
      {title: "last", value: (row) => row.last[row.last.length - 1], class: "name",
        cell: (row) => badge(row.last[row.last.length - 1])},
      {title: "last 10 runs", value: (row) => badCount(row.last), class: "name", cell: (row) => strip(row.last)},
      {title: "runs", value: (row) => row.runs, class: "number", cell: (row) => number(row.runs)},
      ...verdicts.map((verdict) => ({
        title: words(verdict), value: (row) => row.counts[verdict] || 0, class: "number",
        cell: (row) => number(row.counts[verdict] || 0),
      })),
    ], rows);
  }

  // ------------------------------------------------------------------------------------------ failures

  function failures(failed) {
    const rows = failed.map((test) => ({
      ...test, verdicts: [test.verdict || test.silent_as, test.failing ? "failed" : "passed"],
      seen: test.seen || "", fate: test.fate || `not judged in the last ${number(test.silent)} runs`,
      search: searchable(test.card, test.pcie, test.uuid, title(test), test.seen || "", test.fate),
      detail: () => [facts([["means", test.means], ["next", test.next], ["failed first", test.first_failed],
        ["failed last", test.waived ? `${test.last_failed} (waived)` : test.last_failed],
        ["not judged", test.silent ? `in the last ${number(test.silent)} runs: ${words(test.silent_as)}` : ""]])],
    }));
    return new Table("failures", [
      {title: "card", value: (row) => row.title, class: "name", cell: (row) => row.title},
      {title: "test", value: title, class: "name", cell: (row, unfold) => unfolder(title(row), unfold)},
      {title: "now", value: (row) => row.failing ? 0 : 1, class: "name",
        cell: (row) => badge(row.silent ? row.silent_as : row.last[row.last.length - 1])},
      {title: "last 10 runs", value: (row) => badCount(row.last), class: "name", cell: (row) => strip(row.last)},
      {title: "failed", value: (row) => row.failed, class: "number",
        cell: (row) => `${number(row.failed)} of ${number(row.judged)}`},
      {title: "what became of it", value: (row) => row.fate, class: "text", cell: (row) => row.fate},
      {title: "what was seen last", value: (row) => row.seen, class: "text", cell: (row) => row.seen},
    ], rows);
  }

  // ------------------------------------------------------------------------------------------ times

  const timed = data.tests.filter((test) => test.seconds);

  const driftText = ({drift}) => drift
    ? `${Math.abs(drift * 100).toFixed(0)}% ${drift > 0 ? "slower" : "faster"}` : "";

  function times() {
    const rows = timed.map((test) => ({
      ...test, verdicts: test.drift ? ["slower or faster"] : [], search: searchable(test.card, test.pcie, test.uuid, title(test)),
    }));
    const time = (name, key) => ({
      title: name, value: (row) => row.seconds[key], class: "number", cell: (row) => seconds(row.seconds[key]),
    });
    return new Table("times", [
      {title: "card", value: (row) => row.title, class: "name", cell: (row) => row.title},
      {title: "test", value: title, class: "name", cell: title},
      {title: "passed", value: (row) => row.seconds.passed, class: "number", cell: (row) => number(row.seconds.passed)},
      time("fastest", "fastest"), time("median", "median"), time("slowest", "slowest"), time("last 10", "recent"),
      {title: "drift", value: (row) => row.drift, class: "name",
        cell: (row) => row.drift ? element("span", {class: "badge warn"}, driftText(row)) : ""},
    ], rows);
  }

  function chartSettings(test) {
    const MILLI = 1000;
    const {named, series} = palette();
    const axis = {ticks: {color: named("--ink"), maxRotation: 0}, grid: {color: named("--line")}};
    const day = (value) => new Date(value).toISOString();
    const span = (Date.parse(data.last) - Date.parse(data.first)) || 0;
    const TWO_DAYS = 2 * 24 * 3600 * MILLI;
    const PIXELS_A_DAY = 150;
    const ticks = Math.max(2, Math.floor(innerWidth / PIXELS_A_DAY));
    return {
      type: "line",
      data: {datasets: timed.filter((row) => title(row) === test).map((row, index) => ({
        label: row.title, data: row.points.map(([x, y]) => ({x: x * MILLI, y})), pointRadius: 3, borderWidth: 1.5,
        borderColor: series(index), backgroundColor: series(index),
      }))},
      options: {
        animation: false, maintainAspectRatio: false,
        scales: {
          x: {...axis, type: "linear", ticks: {...axis.ticks, maxTicksLimit: ticks, callback: (value) =>
            span < TWO_DAYS ? day(value).slice(5, 16).replace("T", " ") : day(value).slice(0, 10)}},
          y: {...axis, beginAtZero: true, title: {display: true, text: "seconds", color: named("--ink")}},
        },
        plugins: {
          legend: {position: "bottom", labels: {color: named("--ink"), boxWidth: 12}},
          tooltip: {callbacks: {title: (items) => minute(day(items[0].parsed.x))}},
        },
      },
    };
  }

  function timeChart() {
    const PIXELS = 320;
    const tests = [...new Set(timed.map(title))];
    const slowest = (test) => Math.max(...timed.filter((row) => title(row) === test).map((row) => row.seconds.median));
    const drifted = timed.find((row) => row.drift);
    const first = drifted ? title(drifted) : tests.reduce((one, other) => slowest(other) > slowest(one) ? other : one);
    const chosen = element("select", {id: "test"}, ...tests.map((test) => element("option", {value: test}, test)));
    chosen.value = first;
    const chart = chartSheet("How long a test took from run to run", "seconds of each card over time", PIXELS,
      () => chartSettings(chosen.value), element("label", {}, "test ", chosen));
    chosen.addEventListener("change", chart.draw);
    return chart;
  }

  // ------------------------------------------------------------------------------------------ the page

  const failed = data.tests.filter((test) => test.failed > 0 || test.silent);
  const sheets = [tableSheet("Cards", cards())];
  if (failed.length > 0) {
    sheets.push(tableSheet("What failed, what comes and goes, what was not judged", failures(failed)));
  }
  if (timed.length > 0) {
    sheets.push(tableSheet("How long tests take, in seconds", times()));
  }
  const page = document.getElementById("page");
  page.replaceChildren(header(), tiles(), tools(sheets, "card, test, message"), ...sheets.map(({node}) => node));
  if (timed.length > 0) {
    const {node, draw} = timeChart();
    page.append(node);
    draw();
  }
})();
