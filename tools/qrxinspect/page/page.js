'use strict';

const table = document.getElementById('reports');
const body = table.tBodies[0];
const headings = Array.from(table.tHead.rows[0].cells);
const inNaturalOrder = new Intl.Collator('en', { numeric: true }).compare;

function sortBy(column) {
  const heading = headings[column];
  const direction = heading.getAttribute('aria-sort') === 'ascending' ? 'descending' : 'ascending';
  headings.forEach((other) => other.setAttribute('aria-sort', other === heading ? direction : 'none'));
  const sign = direction === 'ascending' ? 1 : -1;
  const textOf = (row) => row.cells[column].textContent;
  const rows = Array.from(body.rows).sort((a, b) => sign * inNaturalOrder(textOf(a), textOf(b)));
  body.append(...rows);
}

function showMatching(words) {
  for (const row of body.rows) {
    const text = row.textContent.toLowerCase();
    row.hidden = !words.every((word) => text.includes(word));
  }
}

headings.forEach((heading, column) => heading.firstChild.addEventListener('click', () => sortBy(column)));

const search = document.getElementById('search');
search.hidden = false;
search.addEventListener('input', () => showMatching(search.value.toLowerCase().split(/\s+/)));
