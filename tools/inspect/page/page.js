'use strict';

// The data ------------------------------------------------------------------------------------------

// A record is an array: its kind, offset, size, identifier and name (both null for what is no node), fields, and for
// one that was not read the reason and the offset of the damage. A field is an array: its name, its offset, and a
// text, the number of a link's target, or an array of elements with the number of the first one behind it.
const KIND = 0, OFFSET = 1, SIZE = 2, UID = 3, NAME = 4, FIELDS = 5, REASON = 6, DAMAGE = 7;

const byId = (id) => document.getElementById(id);

function taken(element) {
  const data = JSON.parse(element.textContent);
  element.remove();
  return data;
}

const records = [];
for (const block of document.querySelectorAll('script.records')) {
  for (const record of taken(block)) records.push(record);
}
const about = taken(byId('about'));

const kindOf = (record) => about.kinds[record[KIND]];
const classOf = (record) => kindOf(record)[0];
const fieldName = (field) => about.names[field[0]];

const numbers = new Intl.NumberFormat('en');
const count = (n, one, many) => `${numbers.format(n)} ${n === 1 ? one : many}`;

function shown(value) {
  return Object.is(value, -0) ? '-0' : String(value);
}

function asText(field) {
  return Array.isArray(field[2]) ? field[2].map(shown).join(' ') : shown(field[2]);
}

// Identifiers to the first record that has it, which is the one that the library finds.
const byUid = new Map();
for (let i = records.length; i-- > 0;) {
  if (records[i][UID] !== null) byUid.set(records[i][UID], i);
}

const classes = about.classes;
const classByName = new Map(classes.map((entry, i) => [entry.name, i]));

// Elements --------------------------------------------------------------------------------------------

// A new element: its name with classes behind points, attributes, and what is in it.
function make(what, attributes, ...inside) {
  const [name, ...styles] = what.split('.');
  const element = document.createElement(name);
  if (styles.length > 0) element.className = styles.join(' ');
  for (const [key, value] of Object.entries(attributes ?? {})) {
    if (key.startsWith('on')) {
      element.addEventListener(key.slice(2), value);
    } else {
      element.setAttribute(key, value);
    }
  }
  element.append(...inside);
  return element;
}

const recordHref = (i) => `#r${i}`;
const classHref = (name) => `#c${encodeURIComponent(name)}`;

function classLink(name) {
  return classByName.has(name) ? make('a', { href: classHref(name) }, name) : name;
}

function title(record) {
  return record[NAME] === null ? classOf(record) : `${classOf(record)} “${record[NAME]}”`;
}

function recordLink(i) {
  return make('a', { href: recordHref(i) }, title(records[i]));
}

// What was searched for is marked in a text.
function marked(text, words) {
  const lower = text.toLowerCase();
  let from = -1, size = 0;
  for (const word of words) {
    const at = lower.indexOf(word);
    if (at >= 0 && (from < 0 || at < from)) [from, size] = [at, word.length];
  }
  if (from < 0 || lower.length !== text.length) return [text];
  return [text.slice(0, from), make('mark', null, text.slice(from, from + size)), text.slice(from + size)];
}

// Trees -----------------------------------------------------------------------------------------------

// What a search says of a row: it has what was searched for, or something below it has.
const FOUND = 1, BELOW = 2;

// Rows of which those that are seen are in the document. A model has `parents`, an index or -1 for each row;
// `searched(i)`, the text in lower case that a search looks into; and `fill(row, i, words)`, which draws a row.
class Tree {
  constructor(box, model, choose) {
    this.box = box;
    this.model = model;
    this.choose = choose;
    this.size = model.parents.length;
    this.isOpen = new Uint8Array(this.size);
    this.depth = new Int32Array(this.size);
    this.place = new Int32Array(this.size).fill(-1);
    this.chosen = -1;
    this.words = [];
    this.hits = null;
    this.linkChildren();
    this.openSome(60);
    box.addEventListener('scroll', () => this.draw());
    box.addEventListener('click', (event) => this.clicked(event));
    box.addEventListener('keydown', (event) => this.pressed(event));
    new ResizeObserver(() => this.draw()).observe(box);
  }

  linkChildren() {
    this.first = new Int32Array(this.size).fill(-1);
    this.next = new Int32Array(this.size).fill(-1);
    this.top = -1;
    for (let i = this.size; i-- > 0;) {
      const parent = this.model.parents[i];
      this.next[i] = parent < 0 ? this.top : this.first[parent];
      if (parent < 0) {
        this.top = i;
      } else {
        this.first[parent] = i;
      }
    }
  }

  *children(i) {
    for (let child = this.first[i]; child >= 0; child = this.next[child]) yield child;
  }

  // Opens rows from the top down until there are some to see.
  openSome(wanted) {
    const queue = [];
    for (let i = this.top; i >= 0 && queue.length < wanted; i = this.next[i]) queue.push(i);
    for (let at = 0; at < queue.length && queue.length < wanted; ++at) {
      this.isOpen[queue[at]] = 1;
      for (const child of this.children(queue[at])) queue.push(child);
    }
  }

  openAll(isOpen) {
    this.isOpen.fill(isOpen ? 1 : 0);
    this.list();
    this.reveal(this.chosen);
  }

  // The rows from the top to the bottom, as they are opened, or as they lead to what was found.
  list() {
    const rows = [];
    let i = this.top, depth = 0;
    this.place.fill(-1);
    while (i >= 0) {
      const isListed = this.hits === null || this.hits[i] > 0;
      if (isListed) {
        this.depth[i] = depth;
        this.place[i] = rows.length;
        rows.push(i);
      }
      if (isListed && this.first[i] >= 0 && (this.hits !== null || this.isOpen[i])) {
        i = this.first[i];
        ++depth;
        continue;
      }
      while (i >= 0 && this.next[i] < 0) {
        i = this.model.parents[i];
        --depth;
      }
      if (i >= 0) i = this.next[i];
    }
    this.rows = rows;
    this.draw();
  }

  // Browsers limit the height of elements, so what is scrolled is lower than very many rows.
  measure() {
    this.rowHeight = parseFloat(getComputedStyle(document.documentElement).getPropertyValue('--row'));
    this.seen = Math.ceil(this.box.clientHeight / this.rowHeight);
    this.height = Math.min(this.rows.length * this.rowHeight, 8e6);
    const hidden = this.rows.length * this.rowHeight - this.box.clientHeight;
    const scrolled = this.height - this.box.clientHeight;
    this.scale = scrolled > 0 ? hidden / scrolled : 1;
  }

  draw() {
    if (this.box.clientHeight === 0 || this.rows === undefined) return;
    this.measure();
    const [sheet, spacer] = this.box.children;
    spacer.style.height = `${this.height}px`;
    const top = this.box.scrollTop * this.scale;
    const first = Math.max(0, Math.floor(top / this.rowHeight));
    sheet.style.transform = `translateY(${first * this.rowHeight - top}px)`;
    const drawn = [];
    for (let at = first; at < Math.min(first + this.seen + 1, this.rows.length); ++at) {
      drawn.push(this.rowOf(this.rows[at]));
    }
    sheet.replaceChildren(...drawn);
    this.box.setAttribute('aria-activedescendant', this.place[this.chosen] >= 0 ? this.idOf(this.chosen) : '');
  }

  idOf(i) {
    return `${this.box.id}-${i}`;
  }

  rowOf(i) {
    const isParent = this.hits === null ? this.first[i] >= 0 : (this.hits[i] & BELOW) !== 0;
    const isWide = this.hits !== null || this.isOpen[i] === 1;
    const row = make('div.row', { id: this.idOf(i), role: 'treeitem', 'data-row': i });
    row.setAttribute('aria-level', this.depth[i] + 1);
    row.setAttribute('aria-selected', i === this.chosen);
    if (isParent) row.setAttribute('aria-expanded', isWide);
    row.style.paddingLeft = `${Math.min(6 + 16 * this.depth[i], this.box.clientWidth * 0.4)}px`;
    row.append(make(isParent ? `span.opener.${isWide ? 'wide' : 'shut'}` : 'span.opener'));
    if (this.hits !== null && this.hits[i] === BELOW) row.classList.add('above');
    this.model.fill(row, i, this.words);
    row.title = row.textContent;
    return row;
  }

  // Opens all above a row, and scrolls to it.
  reveal(i) {
    if (i < 0 || this.rows === undefined) return;
    let isChanged = false;
    for (let above = this.model.parents[i]; above >= 0; above = this.model.parents[above]) {
      if (!this.isOpen[above]) isChanged = true;
      this.isOpen[above] = 1;
    }
    if (isChanged) this.list();
    this.measure();
    const top = this.place[i] * this.rowHeight;
    const least = (top + this.rowHeight - this.box.clientHeight) / this.scale, most = top / this.scale;
    if (this.box.scrollTop > most) this.box.scrollTop = most;
    if (this.box.scrollTop < least) this.box.scrollTop = least;
    this.draw();
  }

  select(i) {
    this.chosen = i;
    if (i >= 0) {
      this.reveal(i);
    } else {
      this.draw();
    }
  }

  toggle(i, isOpen) {
    if (this.hits !== null || this.first[i] < 0 || this.isOpen[i] === (isOpen ? 1 : 0)) return false;
    this.isOpen[i] = isOpen ? 1 : 0;
    this.list();
    return true;
  }

  clicked(event) {
    const row = event.target.closest('.row');
    if (row === null) return;
    const i = Number(row.dataset.row);
    if (event.target.closest('.opener') && this.first[i] >= 0 && this.hits === null) {
      this.toggle(i, !this.isOpen[i]);
    } else {
      this.choose(i, 'click');
    }
  }

  pressed(event) {
    if (event.ctrlKey || event.altKey || event.metaKey || this.rows.length === 0) return;
    const at = this.place[this.chosen] ?? -1;
    const to = this.destination(event.key, at);
    if (to !== null) {
      const last = this.rows.length - 1;
      this.choose(this.rows[Math.max(0, Math.min(last, to))], 'key');
    } else if (event.key === 'Enter' || event.key === ' ') {
      if (at >= 0) this.choose(this.chosen, 'enter');
    } else {
      return;
    }
    event.preventDefault();
  }

  // The place of the row that a key leads to; null for other keys.
  destination(key, at) {
    const i = this.chosen;
    switch (key) {
      case 'ArrowDown': return at + 1;
      case 'ArrowUp': return at - 1;
      case 'PageDown': return at + this.seen - 1;
      case 'PageUp': return at - this.seen + 1;
      case 'Home': return 0;
      case 'End': return this.rows.length - 1;
      case 'ArrowRight':
        if (at < 0 || this.first[i] < 0 || this.toggle(i, true)) return at;
        return this.rows[at + 1] !== undefined && this.model.parents[this.rows[at + 1]] === i ? at + 1 : at;
      case 'ArrowLeft':
        if (at < 0 || this.toggle(i, false) || this.model.parents[i] < 0) return at;
        return this.place[this.model.parents[i]];
      default: return null;
    }
  }

  // Lists what has all words, and what is above it. Returns how many have them.
  search(text) {
    this.words = text.toLowerCase().split(/\s+/).filter((word) => word !== '');
    let found = 0;
    if (this.words.length === 0) {
      this.hits = null;
    } else {
      this.hits = new Uint8Array(this.size);
      for (let i = 0; i < this.size; ++i) {
        const searched = this.model.searched(i);
        if (!this.words.every((word) => searched.includes(word))) continue;
        this.hits[i] |= FOUND;
        ++found;
        for (let above = this.model.parents[i]; above >= 0; above = this.model.parents[above]) {
          if (this.hits[above] & BELOW) break;
          this.hits[above] |= BELOW;
        }
      }
    }
    this.list();
    if (this.hits !== null) {
      this.box.scrollTop = 0;
    } else {
      this.reveal(this.chosen);
    }
    return found;
  }

  firstHit() {
    return this.hits === null ? -1 : this.hits.findIndex((hit) => hit & FOUND);
  }
}

// Records and classes as trees --------------------------------------------------------------------------

class RecordModel {
  constructor() {
    this.parents = about.parents;
    this.texts = new Array(records.length);
  }

  searched(i) {
    return this.texts[i] ??= this.textOf(records[i]).toLowerCase();
  }

  textOf(record) {
    const values = record[FIELDS].map(asText);
    return [classOf(record), record[NAME] ?? '', record[UID] ?? '', record[REASON] ?? '', ...values].join('\n');
  }

  fill(row, i, words) {
    const record = records[i];
    row.append(make('span.kind', null, ...marked(classOf(record), words)));
    if (record[NAME]) row.append(make('span.name', null, ...marked(record[NAME], words)));
    const place = record[UID] === null ? `@${record[OFFSET]}` : `#${record[UID]}`;
    row.append(make('span.dim', null, ...marked(place, words)));
    if (record[REASON]) row.append(make('span.bad', null, record[DAMAGE] === undefined ? 'skipped' : 'damaged'));
    row.append(...this.noteOf(record, words));
  }

  // The first value with a word that is not in what the row shows anyway.
  noteOf(record, words) {
    const head = `${classOf(record)}\n${record[NAME] ?? ''}\n${record[UID] ?? ''}`.toLowerCase();
    const missing = words.filter((word) => !head.includes(word));
    const field = missing.length === 0 ? undefined
      : record[FIELDS].find((one) => missing.some((word) => asText(one).toLowerCase().includes(word)));
    if (field === undefined) return [];
    let text = asText(field);
    const at = text.toLowerCase().indexOf(missing.find((word) => text.toLowerCase().includes(word)));
    if (at > 24) text = `…${text.slice(at - 16, at + 100)}`;
    return [make('span.note.dim', null, `${fieldName(field)} = `, ...marked(text.slice(0, 120), words))];
  }
}

class ClassModel {
  constructor() {
    this.parents = classes.map((entry) => classByName.get(entry.parent) ?? -1);
    this.texts = [];
    this.uses = new Map();
    for (const record of records) this.uses.set(classOf(record), (this.uses.get(classOf(record)) ?? 0) + 1);
  }

  searched(i) {
    return this.texts[i] ??= this.textOf(classes[i]).toLowerCase();
  }

  textOf(entry) {
    const fields = entry.fields.map(([, name, type]) => `${name} ${type}`);
    const others = [...entry.slots.map((slot) => slot[1]), ...entry.properties.map((property) => property[0])];
    return [entry.name, ...fields, ...others, ...entry.signals].join('\n');
  }

  fill(row, i, words) {
    const entry = classes[i];
    row.append(make('span.name', null, ...marked(entry.name, words)));
    const uses = this.uses.get(entry.name);
    if (uses !== undefined) row.append(make('span.dim', null, count(uses, 'record', 'records')));
    if (words.length === 0 || words.every((word) => entry.name.toLowerCase().includes(word))) return;
    const line = this.textOf(entry).split('\n').find((text) => words.some((word) => text.toLowerCase().includes(word)));
    if (line !== undefined && line !== entry.name) row.append(make('span.note.dim', null, ...marked(line, words)));
  }
}

// Series ------------------------------------------------------------------------------------------------

function draw(name, attributes, ...inside) {
  const element = document.createElementNS('http://www.w3.org/2000/svg', name);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
  element.append(...inside);
  return element;
}

// At 1, 2 or 5 times a power of ten. Where numbers are too close to be told apart, there are fewer.
function ticks(least, most) {
  const rough = (most - least) / 3;
  const power = 10 ** Math.floor(Math.log10(rough));
  const step = power * ([1, 2, 5].find((factor) => factor * power >= rough) ?? 10);
  const first = Math.ceil(least / step) * step;
  return Array.from({ length: 5 }, (_, i) => first + i * step).filter((at) => at <= most + step * 1e-9);
}

const short = (value) => String(Number(value.toPrecision(6)));

class Chart {
  constructor(figures) {
    this.values = figures.map(Number);
    const real = this.values.filter(Number.isFinite);
    this.total = this.values.reduce((sum, value) => sum + value, 0);
    this.average = this.total / this.values.length;
    this.least = real.reduce((a, b) => Math.min(a, b), Infinity);
    this.most = real.reduce((a, b) => Math.max(a, b), -Infinity);
    this.holder = make('div');
  }

  facts() {
    const parts = [count(this.values.length, 'value', 'values'), `total ${short(this.total)}`,
      `average ${short(this.average)}`];
    if (Number.isFinite(this.least)) parts.push(`${short(this.least)} to ${short(this.most)}`);
    return parts.map((part) => make('span', null, part));
  }

  drawAt(width) {
    if (!Number.isFinite(this.least) || width < 80) return;
    const height = 170, top = 10, bottom = height - 22;
    const spare = this.most === this.least ? Math.abs(this.most) * 0.1 || 1 : (this.most - this.least) * 0.05;
    const low = this.least - spare, high = this.most + spare;
    // Sums and differences of the largest and the smallest numbers are none.
    if (!(high > low) || !Number.isFinite(high - low)) return;
    const marks = ticks(low, high);
    const left = 12 + 7 * Math.max(0, ...marks.map((mark) => short(mark).length)), right = width - 10;
    const last = this.values.length - 1;
    this.x = (i) => last === 0 ? (left + right) / 2 : left + (right - left) * i / last;
    this.y = (value) => bottom - (bottom - top) * (value - low) / (high - low);
    const svg = draw('svg', { width, height, viewBox: `0 0 ${width} ${height}`, role: 'img' });
    svg.append(draw('title', {}, this.facts().map((fact) => fact.textContent).join(', ')));
    for (const mark of marks) {
      svg.append(draw('line', { class: 'grid', x1: left, x2: right, y1: this.y(mark), y2: this.y(mark) }));
      svg.append(draw('text', { x: left - 6, y: this.y(mark) + 4, 'text-anchor': 'end' }, short(mark)));
    }
    svg.append(draw('text', { x: this.x(0), y: height - 6, 'text-anchor': last === 0 ? 'middle' : 'start' }, '0'));
    if (last > 0) svg.append(draw('text', { x: right, y: height - 6, 'text-anchor': 'end' }, String(last)));
    const base = this.y(Math.max(low, Math.min(high, 0)));
    for (const run of this.runs(Math.floor(right - left))) {
      const line = run.map(([i, value]) => `${this.x(i).toFixed(1)},${this.y(value).toFixed(1)}`).join('L');
      const ends = [run[0], run[run.length - 1]].map(([i]) => this.x(i).toFixed(1));
      svg.append(draw('path', { class: 'area', d: `M${ends[0]},${base}L${line}L${ends[1]},${base}Z` }));
      svg.append(draw('path', { class: 'series', d: `M${line}` }));
      if (this.values.length > 60) continue;
      for (const [i, value] of run) {
        svg.append(draw('circle', { class: 'point', cx: this.x(i), cy: this.y(value), r: 2.4 }));
      }
    }
    if (Number.isFinite(this.average)) {
      const y = this.y(this.average);
      svg.append(draw('line', { class: 'average', x1: left, x2: right, y1: y, y2: y }));
    }
    this.pointer(svg, left, right);
    this.holder.replaceChildren(svg);
  }

  // The points of each part without gaps. Of many values in one column of the screen, the least and the most.
  *runs(columns) {
    const perColumn = Math.max(1, Math.floor(this.values.length / columns));
    let run = [];
    for (let i = 0; i < this.values.length; i += perColumn) {
      const end = Math.min(i + perColumn, this.values.length);
      let least = -1, most = -1;
      for (let j = i; j < end; ++j) {
        if (!Number.isFinite(this.values[j])) continue;
        if (least < 0 || this.values[j] < this.values[least]) least = j;
        if (most < 0 || this.values[j] > this.values[most]) most = j;
      }
      if (least >= 0) {
        const points = least === most ? [least] : [Math.min(least, most), Math.max(least, most)];
        for (const j of points) run.push([j, this.values[j]]);
      } else if (run.length > 0) {
        yield run;
        run = [];
      }
    }
    if (run.length > 0) yield run;
  }

  // The value below the pointer.
  pointer(svg, left, right) {
    const dot = draw('circle', { class: 'point', r: 4, visibility: 'hidden' });
    const label = draw('text', { y: 12, visibility: 'hidden' });
    svg.append(dot, label);
    const show = (isShown) => {
      for (const one of [dot, label]) one.setAttribute('visibility', isShown ? 'visible' : 'hidden');
    };
    svg.addEventListener('pointerleave', () => show(false));
    svg.addEventListener('pointermove', (event) => {
      const share = (event.clientX - svg.getBoundingClientRect().left - left) / (right - left);
      const i = Math.round(Math.max(0, Math.min(1, share)) * (this.values.length - 1));
      if (!Number.isFinite(this.values[i])) return show(false);
      dot.setAttribute('cx', this.x(i));
      dot.setAttribute('cy', this.y(this.values[i]));
      label.textContent = `[${i}] = ${shown(this.values[i])}`;
      const isLate = this.x(i) > (left + right) / 2;
      label.setAttribute('x', this.x(i) + (isLate ? -8 : 8));
      label.setAttribute('text-anchor', isLate ? 'end' : 'start');
      return show(true);
    });
  }
}

// Details -------------------------------------------------------------------------------------------------

const details = byId('details');
let charts = [];

function facts(pairs) {
  const given = pairs.filter(([, value]) => value !== null);
  return make('dl.facts', null, ...given.map(([name, value]) =>
    make('div', null, make('dt', null, name), make('dd', null, value))));
}

function table(style, heads, rows) {
  const head = make('tr', null, ...heads.map((text) => make('th', { scope: 'col' }, text)));
  return make(`table${style}`, null, make('thead', null, head), make('tbody', null, ...rows));
}

// Shows some, and more of them when asked.
function inParts(holder, all, step, of, what) {
  let at = 0;
  const button = make('button.more');
  const show = () => {
    const part = all.slice(at, at + step);
    at += part.length;
    holder.append(...part.map(of));
    button.textContent = `Show more of ${count(all.length, what, `${what}s`)}`;
    button.hidden = at >= all.length;
  };
  button.addEventListener('click', show);
  show();
  return [holder, button];
}

function pathOf(i) {
  const above = [];
  for (let at = about.parents[i]; at >= 0 && above.length < 50; at = about.parents[at]) above.unshift(at);
  return above.length === 0 ? [] : [make('p.path', null, ...above.flatMap((at) => [recordLink(at), ' › ']))];
}

// Lines of a field: eight elements of an array stand beside each other.
function linesOf(field) {
  const [, offset, value, first] = field;
  if (!Array.isArray(value)) return [{ offset, name: fieldName(field), value }];
  const lines = [];
  for (let i = 0; i < value.length; i += 8) {
    const part = value.slice(i, i + 8);
    const range = part.length === 1 ? `${first + i}` : `${first + i}..${first + i + part.length - 1}`;
    const name = `${fieldName(field)}[${range}]`;
    lines.push({ offset: i === 0 ? offset : null, name, value: part.map(shown).join(' ') });
  }
  return lines;
}

function targetOf(uid) {
  const target = byUid.get(uid);
  if (uid === -1) return ['-1 ', make('span.dim', null, '(leads nowhere)')];
  return target === undefined ? [`${uid} `, make('span.dim', null, '(no node has this identifier)')]
    : [`${uid} → `, recordLink(target)];
}

// A long name breaks behind its points.
function breakable(name) {
  return name.split(/(?<=\.)/).flatMap((part) => [part, make('wbr')]);
}

function fieldRow({ offset, name, value }) {
  return make('tr', null, make('td.number', null, offset === null ? '' : `@${offset}`),
    make('td.field', null, ...breakable(name)),
    make('td.code', null, ...(typeof value === 'number' ? targetOf(value) : [value])));
}

const isSeries = (field) => Array.isArray(field[2]) && field[2].length > 0
  && field[2].every((value) => typeof value === 'number' || /^(-?inf|nan)$/.test(value));

// An attribute of a tag has a name in a field beside its values.
function seriesOf(record) {
  const names = new Map(record[FIELDS].map((field) => [fieldName(field), field[2]]));
  return record[FIELDS].filter(isSeries).map((field) => {
    const own = fieldName(field);
    const given = names.get(own.replace(/values$/, 'name'));
    const title = own.endsWith('.values') && typeof given === 'string' ? given.replace(/^"|"$/g, '') : own;
    return { title, values: field[2].map((value) => String(value).replace('inf', 'Infinity')) };
  });
}

function figureOf({ title, values }) {
  const chart = new Chart(values);
  charts.push(chart);
  return make('figure', null, make('figcaption', null, make('b', null, title), ...chart.facts()), chart.holder);
}

let sourcesByUid = null;

// The records with a link to an identifier.
function sourcesOf(uid) {
  if (sourcesByUid === null) {
    sourcesByUid = new Map();
    records.forEach((record, i) => {
      for (const field of record[FIELDS]) {
        if (typeof field[2] !== 'number') continue;
        const sources = sourcesByUid.get(field[2]);
        if (sources === undefined) {
          sourcesByUid.set(field[2], [i]);
        } else if (sources[sources.length - 1] !== i) {
          sources.push(i);
        }
      }
    });
  }
  return sourcesByUid.get(uid) ?? [];
}

function listOf(heading, indices) {
  if (indices.length === 0) return [];
  const uidOf = (record) => record[UID] === null ? '' : ` #${record[UID]}`;
  const item = (i) => make('li', null, recordLink(i), make('span.dim', null, uidOf(records[i])));
  return [make('h3', null, heading), ...inParts(make('ul.nodes'), indices, 20, item, 'record')];
}

function reasonOf(record) {
  if (!record[REASON]) return [];
  const what = record[DAMAGE] === undefined ? 'Skipped' : `Damaged at offset ${record[DAMAGE]}`;
  return [make('p.trouble', null, `${what}: ${record[REASON]}`)];
}

function recordDetails(i) {
  const record = records[i];
  const kind = make('span.kind', null, classLink(classOf(record)));
  const below = [...trees.records.children(i)];
  const parts = [...pathOf(i), make('h2', null, kind, record[NAME] === null ? '' : ` ${record[NAME]}`),
    facts([['identifier', record[UID] === null ? null : String(record[UID])], ['offset', String(record[OFFSET])],
      ['bytes', String(record[SIZE])], ['version', String(kindOf(record)[1])],
      ['below it', below.length === 0 ? null : count(below.length, 'node', 'nodes')]]), ...reasonOf(record)];
  const series = seriesOf(record);
  if (series.length > 0) parts.push(make('h3', null, 'Series'), ...series.map(figureOf));
  const lines = record[FIELDS].flatMap(linesOf);
  if (lines.length > 0) {
    const fields = table('', ['Offset', 'Field', 'Value'], []);
    const [, button] = inParts(fields.tBodies[0], lines, 200, fieldRow, 'line');
    parts.push(make('h3', null, 'Fields'), fields, button);
  }
  const isTarget = record[UID] !== null && byUid.get(record[UID]) === i;
  if (isTarget) parts.push(...listOf('Linked from', sourcesOf(record[UID])));
  parts.push(...listOf('Below it', below));
  return parts;
}

// A class and those above it, from the top.
function chainOf(entry) {
  const chain = [entry];
  while (classByName.has(chain[0].parent)) chain.unshift(classes[classByName.get(chain[0].parent)]);
  return chain;
}

function ownRows(chain, list, cells) {
  const entry = chain[chain.length - 1];
  return chain.flatMap((from) => from[list].map((item) =>
    make(from === entry ? 'tr' : 'tr.inherited', null, ...cells(item, from))));
}

// A declaration, and beside it or below it the class that it comes from.
function cellOf(code, ...origin) {
  return make('td.from', null, make('div', null, make('span.code', null, code), make('span.dim', null, ...origin)));
}

// A method: its declaration, and the classes that it comes from.
function slotCells(chain) {
  return ([slot, declaration, state], from) => {
    const replaced = chain.filter((entry) => entry.replaces.includes(slot)).pop();
    const entry = chain[chain.length - 1];
    const origin = [from === entry ? '' : classLink(from.name)];
    if (replaced === undefined && state !== 'defined') origin.push(` ${state}`);
    if (replaced === entry) {
      origin.push(' replaced by this class');
    } else if (replaced !== undefined) {
      origin.push(' replaced by ', classLink(replaced.name));
    }
    return [make('td.number', null, String(slot)), cellOf(declaration || '(not described)', ...origin)];
  };
}

function classDetails(i) {
  const entry = classes[i];
  const chain = chainOf(entry);
  const uses = trees.classes.model.uses.get(entry.name);
  const kinds = [...trees.classes.children(i)].map((child) => classes[child].name);
  const parts = [];
  const above = chain.slice(0, -1).flatMap((one) => [classLink(one.name), ' › ']);
  if (above.length > 0) parts.push(make('p.path', null, ...above));
  parts.push(make('h2', null, entry.name), facts([['version', String(entry.version)], ['bytes', String(entry.size)],
    ['records in this file', uses === undefined ? null : numbers.format(uses)]]));
  if (kinds.length > 0) {
    const links = kinds.flatMap((name, at) => [at > 0 ? ', ' : '', classLink(name)]);
    parts.push(make('p', null, make('span.dim', null, 'Below it: '), ...links));
  }
  const add = (heading, heads, list, cells) => {
    const rows = ownRows(chain, list, cells);
    if (rows.length > 0) parts.push(make('h3', null, heading), table('', heads, rows));
  };
  const from = (owner) => owner === entry ? '' : classLink(owner.name);
  add('Fields', ['Offset', 'Field', 'Type'], 'fields', ([offset, name, type], owner) =>
    [make('td.number', null, offset < 0 ? '?' : String(offset)), make('td.field', null, name),
      cellOf(type, from(owner))]);
  add('Properties', ['Property', 'Type'], 'properties', ([name, type, use], owner) =>
    [make('td.field', null, name), cellOf(type + use, from(owner))]);
  add('Signals', ['Signal'], 'signals', (declaration, owner) => [cellOf(declaration, from(owner))]);
  add('Slots', ['Slot', 'Method'], 'slots', slotCells(chain));
  return parts;
}

function drawCharts() {
  for (const chart of charts) chart.drawAt(chart.holder.clientWidth);
}

// Shows what a function makes of a record or a class.
function show(of, i) {
  charts = [];
  const parts = of(i);
  details.replaceChildren(make('button', { id: 'back', onclick: close }, '← Back'), ...parts);
  details.scrollTop = 0;
  document.body.classList.add('showing');
  drawCharts();
}

function close() {
  if (location.hash === '') {
    route();
  } else {
    location.hash = '';
  }
  shownTree().box.focus();
}

// What the address names ------------------------------------------------------------------------------------

const search = byId('search');
const trees = {};
let tab = 'records';

const shownTree = () => trees[tab];
const isNarrow = () => matchMedia('(max-width: 760px)').matches;

function showTab(name) {
  tab = name;
  for (const one of ['records', 'classes']) {
    byId(one).hidden = one !== name;
    byId(`tab-${one}`).setAttribute('aria-selected', one === name);
  }
  find();
}

function find() {
  const isSearch = search.value.trim() !== '';
  const found = shownTree().search(search.value);
  byId('found').textContent = isSearch ? `${numbers.format(found)} found` : tab === 'records'
    ? count(records.length, 'record', 'records') : count(classes.length, 'class', 'classes');
  byId('open-all').disabled = byId('close-all').disabled = isSearch;
}

function decoded(text) {
  try {
    return decodeURIComponent(text);
  } catch {
    return '';
  }
}

// "#r12" is a record, "#cztRoot" a class.
function route() {
  const what = location.hash.slice(0, 2), rest = decoded(location.hash.slice(2));
  const isRecord = what === '#r' && /^\d+$/.test(rest) && Number(rest) < records.length;
  const isClass = what === '#c' && classByName.has(rest);
  if (!isRecord && !isClass) {
    document.body.classList.remove('showing');
    shownTree().draw();
    return;
  }
  const name = isRecord ? 'records' : 'classes';
  const i = isRecord ? Number(rest) : classByName.get(rest);
  if (tab !== name) showTab(name);
  if (trees[name].hits !== null && trees[name].hits[i] === 0) {
    search.value = '';
    find();
  }
  show(isRecord ? recordDetails : classDetails, i);
  trees[name].select(i);
}

// Keys change the address in place, so that the way back is not as long as they were many.
function choose(i, how) {
  const hash = tab === 'records' ? recordHref(i) : classHref(classes[i].name);
  if (how === 'key' && isNarrow()) return shownTree().select(i);
  if (how === 'key') {
    history.replaceState(null, '', hash);
    route();
  } else if (location.hash === hash) {
    route();
  } else {
    location.hash = hash;
  }
  if (how === 'enter') details.focus();
  return undefined;
}

function describeFile() {
  const name = about.file.replace(/^.*\//, '');
  document.title = `${name} - ztinspect report`;
  byId('file').textContent = name;
  byId('file').title = about.file;
  byId('summary').textContent = [count(records.length, 'record', 'records'), count(about.bytes, 'byte', 'bytes'),
    `${about.form} form`, about.problems.length === 0 ? 'whole' : 'see below'].join(' · ');
  byId('problems').append(...about.problems.map((text) => make('p', null, text)));
}

function listen() {
  for (const name of ['records', 'classes']) {
    byId(`tab-${name}`).addEventListener('click', () => {
      showTab(name);
      document.body.classList.remove('showing');
      shownTree().draw();
    });
  }
  search.addEventListener('input', () => {
    if (isNarrow()) document.body.classList.remove('showing');
    find();
  });
  search.addEventListener('keydown', (event) => {
    const hit = shownTree().firstHit();
    if (event.key === 'Enter' && hit >= 0) choose(hit, 'enter');
    if (event.key === 'ArrowDown') {
      shownTree().box.focus();
      if (hit >= 0) choose(hit, 'key');
    }
    if (event.key === 'Escape') {
      search.value = '';
      find();
      shownTree().box.focus();
    }
    if (['Enter', 'ArrowDown', 'Escape'].includes(event.key)) event.preventDefault();
  });
  byId('open-all').addEventListener('click', () => shownTree().openAll(true));
  byId('close-all').addEventListener('click', () => shownTree().openAll(false));
  document.addEventListener('keydown', (event) => {
    if (event.target === search || event.ctrlKey || event.altKey || event.metaKey) return;
    if (event.key === '/') {
      event.preventDefault();
      search.focus();
      search.select();
    } else if (event.key === 'Escape' && details.contains(event.target)) {
      close();
    }
  });
  window.addEventListener('hashchange', route);
  new ResizeObserver(drawCharts).observe(details);
}

describeFile();
trees.records = new Tree(byId('records'), new RecordModel(), choose);
trees.classes = new Tree(byId('classes'), new ClassModel(), choose);
listen();
showTab('records');
route();
if (!document.body.classList.contains('showing') && records.length > 0 && !isNarrow()) {
  show(recordDetails, 0);
  trees.records.select(0);
}
// The first search should not wait for the texts that it looks into.
setTimeout(() => records.forEach((record, i) => trees.records.model.searched(i)), 0);
