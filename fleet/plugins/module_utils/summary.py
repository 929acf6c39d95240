# -*- coding: utf-8 -*-
"""The summary of a roll-out: one row a chassis, as JSON and as one HTML page that needs nothing else."""
from __future__ import absolute_import, division, print_function

__metaclass__ = type

import json
import os
import tempfile
from html import escape

STATES = ("green", "failed", "under way", "not tried")
COLUMNS = ("chassis", "state", "outcome", "before", "after", "wave", "server", "cause")

PAGE = """<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8"><title>Roll-out</title>
<style>
body { font: 15px/1.4 sans-serif; margin: 1.5em } table { border-collapse: collapse }
th, td { text-align: left; padding: .2em .7em; border-bottom: 1px solid #bbb; vertical-align: top }
th button { font: inherit; font-weight: bold; border: 0; background: none; padding: 0; cursor: pointer }
.green td:nth-child(2) { color: #05631d } .failed td:nth-child(2) { color: #a80000; font-weight: bold }
</style></head><body>
<h1>Roll-out</h1><p>%s</p>
<p><label>Search <input id="text" type="search"></label>
<label>State <select id="state"><option value="">all</option>%s</select></label></p>
<table><thead><tr>%s</tr></thead><tbody>
%s
</tbody></table>
<script>
const body = document.querySelector("tbody"), rows = Array.from(body.rows);
const text = document.getElementById("text"), state = document.getElementById("state");
function show() {
  const wanted = text.value.toLowerCase();
  for (const row of rows)
    row.hidden = (state.value && row.className !== state.value) || !row.textContent.toLowerCase().includes(wanted);
}
text.oninput = state.onchange = show;
document.querySelectorAll("th button").forEach((button, column) => button.onclick = () => {
  const value = row => row.cells[column].textContent;
  rows.sort((a, b) => value(a).localeCompare(value(b), "en", { numeric: true }));
  body.append(...rows);
});
</script></body></html>
"""


def collect(ledger):
    """One dictionary a chassis of the present run's inventory or of an earlier verdict, sorted by name."""
    opened = json.loads(ledger.last("opened")["detail"])
    states = ledger.states()
    plans = dict((row["chassis"], row) for row in ledger.rows("planned"))
    untried = dict((row["chassis"], row) for row in ledger.rows("untried"))
    stopped = ledger.rows("stopped")
    rows = []
    for name in sorted(set(opened.get("chassis", {}).values()) | set(states)):
        row = states.get(name)
        state = row["event"] if row is not None else "not tried"
        if row is None:
            row = untried.get(name) or plans.get(name)
        values = dict((column, row[column] if row is not None else None) for column in
                      ("outcome", "before", "after", "wave", "server", "cause"))
        if state == "not tried" and not values["cause"]:
            values["cause"] = stopped[-1]["cause"] if stopped else "the roll-out did not get this far"
        rows.append(dict(values, chassis=name, state="under way" if state in ("started", "ended") else state))
    return rows


def counts(rows):
    """How many chassis are in each state."""
    return dict((state, sum(row["state"] == state for row in rows)) for state in STATES)


def write(stem, rows):
    """Writes `stem`.json and `stem`.html, each whole or not at all."""
    totals = counts(rows)
    _replace(stem + ".json", json.dumps({"format": 1, "counts": totals, "chassis": rows}, indent=1, sort_keys=True) + "\n")
    lines = "\n".join('<tr class="%s">%s</tr>' % (row["state"], "".join(
        "<td>%s</td>" % escape("" if row[column] is None else str(row[column])) for column in COLUMNS)) for row in rows)
    _replace(stem + ".html", PAGE % (
        ", ".join("%d %s" % (totals[state], state) for state in STATES),
        "".join("<option>%s</option>" % state for state in STATES),
        "".join('<th scope="col"><button>%s</button></th>' % column for column in COLUMNS), lines))


def _replace(path, text):
    descriptor, name = tempfile.mkstemp(dir=os.path.dirname(os.path.abspath(path)))
    try:
        with os.fdopen(descriptor, "wb") as output:
            output.write(text.encode("utf-8"))
            output.flush()
            os.fsync(output.fileno())
        os.rename(name, path)
    except BaseException:
        os.unlink(name)
        raise
