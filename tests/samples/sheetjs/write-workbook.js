// Writes a workbook for the tests of exchange and sheet to standard output.
const sheetjs = require('xlsx');

const text = v => ({t: 's', v});
const formula = f => ({t: 's', v: '', f});  // `f` is in A1 notation; SheetJS writes R1C1 notation

// The calls to QkGet and QData are in column C, starting at row 11.
const cells = {
  '!ref': 'A1:E16',
  '!merges': [{s: {r: 1, c: 0}, e: {r: 2, c: 2}}, {s: {r: 4, c: 1}, e: {r: 4, c: 3}}],
  A1: text('Größe & <Wert>'),
  A2: text('over three columns and two rows'), D2: text(' after '), D3: text('two\nlines'),
  B5: text('over three columns'), E5: {t: 'n', v: 1.5}, A6: {t: 'b', v: true},
  B6: {t: 'n', v: 3, f: 'SUM(E5,E5)'},
  C10: text('A.X'), D10: text('LAST'), E10: text('BID'),
  A11: text('B.Y'), C11: formula('QData(A11:A12,D10:E10,"X:FD")'),
  A12: text('C.Z'),
  C14: formula('QkGet("FD","A.X","LAST")'),
  A15: text('D.W'), C15: formula('QkGet("FD",A15,"LAST")'), D15: formula('QkGet("FD","A.X")'),
};
process.stdout.write(sheetjs.write({SheetNames: ['Quotes'], Sheets: {Quotes: cells}},
                                   {bookType: 'xlml', type: 'string'}));
