'use strict';

const table = document.getElementById('reports');
const body = table.tBodies[0];
const headings = Array.from(table.tHead.rows[0].cells);
const search = document.getElementById('search');
const counts = Array.from(document.querySelectorAll('.counts button'));
const inNaturalOrder = new Intl.Collator('en', { numeric: true }).compare;

// The page holds some rows at a time: the browser needs seconds to lay out ten thousand, and no time for these.
const step = 500;
const more = document.getElementById('more');
const rows = Array.from(body.rows, (row) => ({ row, of: row.dataset.of, text: row.textContent.toLowerCase() }));
let limit = step;
let shownOutcome = '';

function show(count) {
  limit = count;
  const words = search.value.toLowerCase().split(/\s+/);
  const matching = rows.filter(({ of, text }) => (!shownOutcome || of === shownOutcome) &&
                                                 words.every((word) => text.includes(word)));
  body.replaceChildren(...matching.slice(0, limit).map((entry) => entry.row));
  more.hidden = matching.length <= limit;
  document.getElementById('hits').textContent =
      matching.length === rows.length ? '' : `${matching.length} of ${rows.length} rows`;
  document.getElementById('empty').hidden = matching.length > 0;
}

function sortBy(column) {
  const heading = headings[column];
  const direction = heading.getAttribute('aria-sort') === 'ascending' ? 'descending' : 'ascending';
  headings.forEach((other) => other.setAttribute('aria-sort', other === heading ? direction : 'none'));
  const sign = direction === 'ascending' ? 1 : -1;
  for (const entry of rows) {
    const cell = entry.row.cells[column];
    entry.key = cell.dataset.sort || cell.textContent;
  }
  rows.sort((a, b) => sign * inNaturalOrder(a.key, b.key));
  show(step);
}

function showOutcome(outcome) {
  shownOutcome = outcome;
  counts.forEach((button) => button.setAttribute('aria-pressed', String(button.dataset.of === outcome)));
  show(step);
}

headings.forEach((heading, column) => heading.firstChild.addEventListener('click', () => sortBy(column)));
counts.forEach((button) => button.addEventListener('click', () => showOutcome(button.dataset.of)));
search.addEventListener('input', () => show(step));
more.addEventListener('click', () => show(limit + step));
addEventListener('beforeprint', () => show(rows.length));
addEventListener('afterprint', () => show(step));
search.hidden = false;
showOutcome('');
