// compare-cells.js WORKBOOK CELLS: compares the cells that SheetJS reads from the first sheet of a
// workbook with the output of workbook_cells in the file CELLS. Prints a line for each difference.
// The exit status is 1 if there is a difference.
const fs = require('fs');
const sheetjs = require('xlsx');

const [workbookFile, cellsFile] = process.argv.slice(2);
const workbook = sheetjs.read(fs.readFileSync(workbookFile, 'utf8'), {type: 'string'});
const sheet = workbook.Sheets[workbook.SheetNames[0]];

const unescaped = text =>
  text.replace(/\\(.)/g, (_, c) => ({n: '\n', t: '\t', r: '\r'})[c] ?? c);

const found = new Map();
for (const line of fs.readFileSync(cellsFile, 'utf8').split('\n').filter(Boolean)) {
  const [row, column, text, formula] = line.replace(/\r$/, '').split('\t');
  found.set(sheetjs.utils.encode_cell({r: row - 1, c: column - 1}),
            {text: unescaped(text), formula: formula !== ''});
}

// dayOf() converts a date and time to a serial number, which SheetJS stores for dates. valueOf()
// converts text to the value that SheetJS stores for a cell of the given type.
const dayOf = text => (Date.parse(text + 'Z') - Date.UTC(1899, 11, 30)) / 86400000;
function valueOf(text, type) {
  switch (type) {
    case 'n': return text.includes('T') ? dayOf(text) : Number(text);
    case 'b': return text === '1';
    default: return text;
  }
}

const expected = Object.entries(sheet).filter(
  ([place, cell]) => place[0] !== '!' && (cell.f !== undefined || cell.v !== ''));
const differences = [];
for (const [place, cell] of expected) {
  const own = found.get(place);
  const value = cell.t === 'e' ? cell.w : cell.v;
  if (!own || valueOf(own.text, cell.t) !== value || own.formula !== (cell.f !== undefined))
    differences.push(`${place}: SheetJS ${JSON.stringify({value, f: cell.f})}, here ${JSON.stringify(own)}`);
  found.delete(place);
}
// SheetJS does not return cells that have a formula but no value.
for (const [place, own] of found)
  if (own.text !== '') differences.push(`${place}: not in SheetJS, here ${JSON.stringify(own)}`);
if (expected.length === 0) differences.push('SheetJS found no cell');

console.log(differences.length ? differences.join('\n') : `${expected.length} cells are the same`);
process.exitCode = differences.length ? 1 : 0;
