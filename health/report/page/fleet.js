// What is told of a fleet besides: nodes, what differs, and cards that are slow.
"use strict";
const zelFleet = (fleet) => {
  const {words, number, seconds, element, badge, Table, unfolder, searchable, tableSheet} = zelPage;

  const command = (text) => element("code", {}, text);

  function more(all, shown, what) {
    return all > shown
      ? element("p", {class: "soft"}, `${number(all - shown)} more ${what} stand in the streams.`) : undefined;
  }

  function nodes() {
    const worst = ["failed", "lost", "unknown", "not_asked", "degraded"];
    const rows = fleet.rows.map((row) => ({
      ...row, verdicts: [row.verdict], search: searchable(row.node, row.verdict, words(row.verdict), row.text)}));
    return new Table("nodes", [
      {title: "node", value: (row) => row.node, class: "name", cell: (row) => row.node},
      {title: "verdict", value: (row) => worst.indexOf(row.verdict), class: "name", cell: (row) => badge(row.verdict)},
      {title: "what was seen", value: (row) => row.text, class: "text", cell: (row) => row.text},
      {title: "look closer", value: (row) => row.look, class: "text", cell: (row) => command(row.look)},
    ], rows);
  }

  function differences() {
    const rows = fleet.differences.flatMap((difference) => difference.values.slice(1).map((value) => ({
      ...value, item: difference.item, what: difference.what, all: difference.count, most: difference.values[0],
      verdicts: [], search: searchable(difference.item, value.value, value.places),
      detail: () => [element("p", {}, value.places.join(", ") +
        (value.count > value.places.length ? ` and ${number(value.count - value.places.length)} more` : ""))],
    })));
    return new Table("differences", [
      {title: "what", value: (row) => row.item, class: "text", cell: (row, unfold) => unfolder(row.item, unfold)},
      {title: "here", value: (row) => row.value, class: "text", cell: (row) => row.value},
      {title: "on", value: (row) => row.count, class: "number", cell: (row) => `${number(row.count)} ${row.count === 1 ? row.what.slice(0, -1) : row.what}`},
      {title: "most have", value: (row) => row.most.value, class: "text",
        cell: (row) => `${row.most.value} (${number(row.most.count)} of ${number(row.all)})`},
      {title: "look closer", value: (row) => row.look, class: "text", cell: (row) => command(row.look)},
    ], rows);
  }

  function slow() {
    const ratio = ({seconds: time, median}) => time / median;
    const told = (test) => `${test.test}: ${seconds(test.seconds)} s, ${ratio(test).toFixed(2)} times the median of ` +
      `${number(test.count)} (${seconds(test.median)} s, deviation ${seconds(test.deviation)} s)`;
    const rows = fleet.slow.map((row) => ({
      ...row, verdicts: [], search: searchable(row.host, row.card, row.kind, row.tests.map(({test}) => test)),
      detail: () => [element("ul", {}, ...row.tests.map((test) => element("li", {}, told(test)))),
        more(row.testCount, row.tests.length, "tests")],
    }));
    return new Table("slow", [
      {title: "card", value: (row) => `${row.host} ${row.card}`, class: "name",
        cell: (row, unfold) => unfolder(`${row.host} ${row.card}`, unfold)},
      {title: "kind", value: (row) => row.kind, cell: (row) => row.kind},
      {title: "slow tests", value: (row) => row.testCount, class: "number", cell: (row) => number(row.testCount)},
      {title: "worst", value: (row) => ratio(row.tests[0]), class: "number",
        cell: (row) => `${ratio(row.tests[0]).toFixed(2)} \u00d7 ${row.tests[0].test}`},
      {title: "look closer", value: (row) => row.look, class: "text", cell: (row) => command(row.look)},
    ], rows);
  }

  return [
    fleet.rows.length > 0 && tableSheet("Nodes, worst first", nodes(), more(fleet.rowCount, fleet.rows.length, "nodes")),
    fleet.differences.length > 0 && tableSheet("What differs from most", differences()),
    fleet.slow.length > 0 &&
      tableSheet("Cards slower than their kind", slow(), more(fleet.slowCount, fleet.slow.length, "cards")),
  ].filter(Boolean);
};
