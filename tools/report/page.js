// The report's page: map, plot of time and tables over the data that stands beside it. Whatever
// comes from a file is put in as text, never as markup.
'use strict';
(function () {

// --- Small helpers ------------------------------------------------------------------------------

const byId = id => document.getElementById(id);
const json = id => JSON.parse(byId(id).textContent);

// An element with attributes (a function is a listener) and children, strings as text.
function el(tag, attributes, ...children) {
  const node = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes || {})) {
    if (typeof value === 'function') node.addEventListener(name, value);
    else if (value !== null && value !== undefined && value !== false) node.setAttribute(name, value);
  }
  node.append(...children.filter(child => child !== null && child !== undefined));
  return node;
}

const whole = new Intl.NumberFormat('en');
const counted = (n, what) => whole.format(n) + ' ' + what + (n === 1 ? '' : 's');
const fixed = (value, decimals) => Number.isNaN(value) ? '' : value.toFixed(decimals);

function later(delay, run) {
  let timer = 0;
  return () => {
    clearTimeout(timer);
    timer = setTimeout(run, delay);
  };
}

// --- Columns ------------------------------------------------------------------------------------

const kArrays = {i8: Int8Array, i16: Int16Array, i32: Int32Array, f64: Float64Array};
const kMissing = {i8: -128, i16: -32768, i32: -2147483648};

function bytesOf(base64) {
  if (Uint8Array.fromBase64) return Uint8Array.fromBase64(base64);
  const binary = atob(base64);
  const bytes = new Uint8Array(binary.length);
  for (let i = 0; i < bytes.length; ++i) bytes[i] = binary.charCodeAt(i);
  return bytes;
}

// Numbers of a column, NaN where there is none.
function numbers(column) {
  const steps = new kArrays[column.type](bytesOf(column.data).buffer);
  if (column.type === 'f64') return steps;
  const result = new Float64Array(steps.length);
  const missing = kMissing[column.type];
  const perUnit = 10 ** column.decimals;
  for (let i = 0; i < steps.length; ++i) {
    result[i] = steps[i] === missing ? NaN : column.offset + steps[i] / perUnit;
  }
  return result;
}

// A function from a row to its text.
function texts(column) {
  if (!column.data) return i => column.texts[i];
  const which = numbers(column.data);
  return i => column.texts[which[i]];
}

// --- Tables -------------------------------------------------------------------------------------

const kPage = 50;
const kPrinted = 300;
const tables = [];

// A table that sorts, filters and turns pages. Columns: {name, unit, number, value(row), text(row),
// cell(row), screen}; of these value sorts, text is shown and searched, cell is shown instead of it,
// and screen keeps it off paper.
class Table {
  constructor(host, title, columns, count) {
    this.columns = columns;
    this.count = count;
    this.rows = null;  // those to show, null: all
    this.needle = '';
    this.sorted = -1;
    this.down = false;
    this.page = 0;
    this.search = el('input', {type: 'search', input: later(200, () => {
      this.needle = this.search.value.toLowerCase();
      this.arrange();
    })});
    this.back = el('button', {type: 'button', click: () => this.turn(-1)}, 'Previous');
    this.forth = el('button', {type: 'button', click: () => this.turn(1)}, 'Next');
    this.status = el('span', {role: 'status'});
    this.body = el('tbody');
    this.heads = columns.map((column, i) => el('th', {
      scope: 'col', class: classOf(column), 'aria-sort': column.value ? 'none' : null,
    }, column.value ? el('button', {type: 'button', click: () => this.sort(i)}, column.name) : null,
       // On paper, where buttons are not repeated on every page.
       el('span', {class: column.value ? 'printed' : null}, column.name),
       column.unit ? el('small', {}, ' ' + column.unit) : null));
    host.append(
      el('div', {class: 'tools'}, el('label', {}, 'Filter ', this.search), this.back, this.forth,
         this.status),
      el('div', {class: 'scroll', tabindex: '0', role: 'region', 'aria-label': title},
         el('table', {}, el('caption', {}, title), el('thead', {}, el('tr', {}, ...this.heads)),
            this.body)));
    tables.push(this);
    this.arrange();
  }

  show(rows) {
    this.rows = rows;
    this.arrange();
  }

  sort(column) {
    this.down = this.sorted === column && !this.down;
    this.sorted = column;
    this.heads.forEach((head, i) => {
      if (!this.columns[i].value) return;
      head.setAttribute('aria-sort',
                        i !== column ? 'none' : this.down ? 'descending' : 'ascending');
    });
    this.arrange();
  }

  arrange() {
    let order = this.rows ? Array.from(this.rows) : Array.from({length: this.count}, (_, i) => i);
    if (this.needle) {
      order = order.filter(row => this.columns.some(
        column => column.text && column.text(row).toLowerCase().includes(this.needle)));
    }
    if (this.sorted >= 0) {
      const key = this.key(order);
      const sign = this.down ? -1 : 1;
      // What has no value comes last, whichever way the others go.
      order.sort((a, b) => {
        const one = key(a);
        const two = key(b);
        if (Number.isNaN(one) || Number.isNaN(two)) return Number.isNaN(one) - Number.isNaN(two);
        return sign * (one - two) || a - b;
      });
    }
    this.order = order;
    this.page = 0;
    this.fill(kPage);
  }

  // A function from a row to the number that it is sorted by: of texts their place among all.
  key(rows) {
    const {value, number} = this.columns[this.sorted];
    if (number) return value;
    const places = new Map([...new Set(rows.map(value))].sort(kOrder.compare).map(
      (text, i) => [text, text === '' ? NaN : i]));
    return row => places.get(value(row));
  }

  turn(by) {
    this.page += by;
    this.fill(kPage);
  }

  fill(length) {
    const pages = Math.max(1, Math.ceil(this.order.length / length));
    this.page = Math.min(Math.max(this.page, 0), pages - 1);
    const first = this.page * length;
    const rows = this.order.slice(first, first + length);
    this.body.replaceChildren(...rows.map(row => el('tr', {}, ...this.columns.map(column => {
      const cell = column.cell ? column.cell(row) : null;
      return el('td', {class: classOf(column)}, cell || column.text(row));
    }))));
    this.status.textContent = this.order.length === 0 ? 'no rows'
      : whole.format(first + 1) + ' to ' + whole.format(first + rows.length) + ' of ' +
        whole.format(this.order.length);
    this.back.disabled = this.page === 0;
    this.forth.disabled = this.page === pages - 1;
    this.back.hidden = this.forth.hidden = pages === 1;
  }
}
const classOf = column => column.number ? 'number' : column.screen ? 'screen' : null;
const kOrder = new Intl.Collator('en', {numeric: true});

function numberColumn(name, unit, values, decimals) {
  return {name, unit, number: true, value: row => values[row],
          text: row => fixed(values[row], decimals)};
}
const textColumn = (name, text) => ({name, value: text, text});

// Columns of a table as the data has it.
function columnsOf(table) {
  return table.columns.map(column => column.numbers
    ? numberColumn(column.name, column.unit, numbers(column.numbers), column.numbers.decimals)
    : textColumn(column.name, texts(column.texts)));
}

// A column of buttons that show a row on the map; place(row) is [map, x, y] or null.
function mapColumn(place, name) {
  return {name: 'Map', screen: true, cell: row => {
    const at = place(row);
    return at ? el('button', {type: 'button', class: 'link', 'aria-label': 'Show ' + name(row) + ' on the map',
                              click: () => theMap.go(at[0], at[1], at[2])}, 'show') : '–';
  }};
}

function placesOf(table) {
  const [map, x, y] = ['map', 'x', 'y'].map(name => numbers(table.place[name]));
  return row => Number.isNaN(map[row]) ? null : [map[row], x[row], y[row]];
}

// A table with a title, of which the first columns name a row; nothing where it has no rows.
function addTable(host, title, data, extra) {
  if (data.rows === 0) return null;
  const columns = columnsOf(data);
  const name = row => columns[0].text(row) || row + 1;
  if (data.place) columns.push(mapColumn(placesOf(data), name));
  return new Table(host, title, columns.concat(extra || []), data.rows);
}

// --- The map ------------------------------------------------------------------------------------

const kKinds = [
  ['points', 'Points'], ['lines', 'Lines'], ['polygons', 'Polygons'], ['rays', 'Observation rays'],
  ['setups', 'Setups'], ['annotations', 'Annotations'], ['texts', 'Texts'], ['findings', 'Findings'],
];
// More points in sight are drawn as pixels, without labels.
const kDots = 20000;
const kLabelled = 3000;
const kManyRays = 5000;
const kReach = 12;  // of the mouse, in pixels

// A grid over points, so that those in a rectangle are found without a look at the others.
class Grid {
  constructor(x, y, rows) {
    this.x = x;
    this.y = y;
    this.side = Math.max(1, Math.min(1024, Math.ceil(Math.sqrt(rows.length / 4))));
    this.west = this.south = Infinity;
    let east = -Infinity;
    let north = -Infinity;
    for (const row of rows) {
      if (x[row] < this.west) this.west = x[row];
      if (x[row] > east) east = x[row];
      if (y[row] < this.south) this.south = y[row];
      if (y[row] > north) north = y[row];
    }
    this.width = (east - this.west) / this.side || 1;
    this.height = (north - this.south) / this.side || 1;
    const cells = new Uint32Array(rows.length);
    this.first = new Uint32Array(this.side * this.side + 1);
    for (let i = 0; i < rows.length; ++i) {
      cells[i] = this.cell(y[rows[i]], this.south, this.height) * this.side +
                 this.cell(x[rows[i]], this.west, this.width);
      ++this.first[cells[i] + 1];
    }
    for (let i = 1; i < this.first.length; ++i) this.first[i] += this.first[i - 1];
    const next = this.first.slice();
    this.rows = new Uint32Array(rows.length);
    for (let i = 0; i < rows.length; ++i) this.rows[next[cells[i]]++] = rows[i];
  }

  cell(value, start, step) {
    return Math.min(this.side - 1, Math.max(0, Math.floor((value - start) / step)));
  }

  // Calls take(rows, begin, end) for runs of points that may lie in the box.
  each(box, take) {
    if (this.rows.length === 0) return;
    const left = this.cell(box.west, this.west, this.width);
    const right = this.cell(box.east, this.west, this.width);
    const top = this.cell(box.north, this.south, this.height);
    for (let row = this.cell(box.south, this.south, this.height); row <= top; ++row) {
      take(this.rows, this.first[row * this.side + left], this.first[row * this.side + right + 1]);
    }
  }
}

// Lines, areas or rays with the box of each.
class Shapes {
  constructor(data) {
    for (const name of ['x', 'y', 'firstVertex', 'firstRun', 'group', 'owner']) {
      this[name] = numbers(data[name]);
    }
    const n = this.count = this.owner.length;
    [this.west, this.south, this.east, this.north] = [0, 0, 0, 0].map(() => new Float64Array(n));
    for (let i = 0; i < n; ++i) {
      let west = Infinity, south = Infinity, east = -Infinity, north = -Infinity;
      for (let v = this.firstVertex[this.firstRun[i]]; v < this.firstVertex[this.firstRun[i + 1]]; ++v) {
        west = Math.min(west, this.x[v]);
        east = Math.max(east, this.x[v]);
        south = Math.min(south, this.y[v]);
        north = Math.max(north, this.y[v]);
      }
      this.west[i] = west;
      this.south[i] = south;
      this.east[i] = east;
      this.north[i] = north;
    }
  }
}

// Free room for labels, in cells of four pixels.
class Room {
  constructor(width, height) {
    this.columns = Math.ceil(width / 4);
    this.rows = Math.ceil(height / 4);
    this.taken = new Uint8Array(this.columns * this.rows);
  }
  take(left, top, width, height, anyway) {
    const west = Math.floor(left / 4), east = Math.floor((left + width) / 4);
    const north = Math.floor(top / 4), south = Math.floor((top + height) / 4);
    if (west < 0 || north < 0 || east >= this.columns || south >= this.rows) return false;
    for (let row = north; !anyway && row <= south; ++row) {
      for (let column = west; column <= east; ++column) {
        if (this.taken[row * this.columns + column]) return false;
      }
    }
    for (let row = north; row <= south; ++row) {
      this.taken.fill(1, row * this.columns + west, row * this.columns + east + 1);
    }
    return true;
  }
}

// The drawing of a map: one canvas, larger than the window so that a small pan needs no drawing.
const Drawing = L.Layer.extend({
  initialize(owner) { this.owner = owner; },
  onAdd(map) {
    this.canvas = el('canvas', {'aria-hidden': 'true'});
    map.getPanes().overlayPane.append(this.canvas);
    this.redraw();
  },
  getEvents() { return {moveend: this.redraw, resize: this.redraw, viewreset: this.redraw}; },
  redraw() {
    const map = this._map;
    const size = map.getSize();
    const pad = Math.round(Math.min(size.x, size.y) / 4);
    const width = size.x + 2 * pad;
    const height = size.y + 2 * pad;
    const ratio = Math.min(window.devicePixelRatio || 1, 2);
    if (this.canvas.width !== width * ratio || this.canvas.height !== height * ratio) {
      this.canvas.width = width * ratio;
      this.canvas.height = height * ratio;
      this.canvas.style.width = width + 'px';
      this.canvas.style.height = height + 'px';
    }
    L.DomUtil.setPosition(this.canvas, map.containerPointToLayerPoint([-pad, -pad]));
    const zero = map.latLngToContainerPoint([0, 0]);
    this.owner.draw(this.canvas, ratio, {
      width, height, x: zero.x + pad, y: zero.y + pad, scale: map.options.crs.scale(map.getZoom()),
    });
  },
});

class SurveyMap {
  constructor() {
    this.map = L.map('map', {
      crs: L.CRS.Simple, minZoom: -30, maxZoom: 14, zoomSnap: 0.25, wheelPxPerZoomLevel: 90,
      attributionControl: false, zoomAnimation: false, fadeAnimation: false,
    });
    L.control.scale({imperial: false, maxWidth: 150}).addTo(this.map);
    const North = L.Control.extend({options: {position: 'topright'}, onAdd: northArrow});
    new North().addTo(this.map);
    this.drawing = new Drawing(this);
    this.map.on('mousemove', event => this.point(event.containerPoint, false));
    this.map.on('click', event => this.point(event.containerPoint, true));
    byId('map').addEventListener('keydown', event => {
      if (event.key !== 'Enter' || event.target !== byId('map')) return;
      this.point(this.map.getSize().divideBy(2), true, 120);
    });
  }

  // Takes a survey; its first map with anything on it is shown.
  take(survey, few) {
    this.survey = survey;
    this.few = few;
    this.shown = Object.fromEntries(kKinds.map(([kind]) => [kind, true]));
    this.codeOn = survey.codes.map(() => true);
    this.layerOn = survey.layers.map(() => true);
    const points = survey.points;
    this.points = {
      map: numbers(points.place.map), x: numbers(points.place.x), y: numbers(points.place.y),
      z: numbers(points.z), group: numbers(points.group),
      number: numbers(points.columns[0].numbers),
      id: points.columns[1] ? texts(points.columns[1].texts) : () => '',
    };
    this.maps = survey.maps.map((map, i) => this.prepare(map, i));
    let best = 0;
    this.maps.forEach((map, i) => {
      if (map.size > this.maps[best].size) best = i;
    });
    const some = this.maps.length > 0 && this.maps[best].size > 0;
    byId('map-area').hidden = !some;
    byId('map-empty').hidden = some;
    if (some) this.choose(best);
  }

  prepare(data, index) {
    const map = {data, findings: []};
    const rows = [];
    const which = this.points.map;
    for (let i = 0; i < which.length; ++i) {
      if (which[i] === index) rows.push(i);
    }
    map.rows = rows.length;
    map.grid = new Grid(this.points.x, this.points.y, rows);
    for (const kind of ['lines', 'polygons', 'rays']) map[kind] = new Shapes(data[kind]);
    map.setups = [];
    const setups = this.survey.setups;
    if (setups.rows > 0) {
      const place = placesOf(setups);
      const columns = columnsOf(setups);
      for (let i = 0; i < setups.rows; ++i) {
        const at = place(i);
        if (!at || at[0] !== index) continue;
        map.setups.push({x: at[1], y: at[2], group: 0, row: i, columns});
      }
    }
    this.survey.findings.concat(this.survey.geometry).forEach(finding => {
      if (finding.place && finding.place[0] === index && !finding.near) {
        map.findings.push({x: finding.place[1], y: finding.place[2], finding});
      }
    });
    map.size = map.rows + map.lines.count + map.polygons.count + map.setups.length;
    [map.west, map.south, map.east, map.north] = data.bounds;
    // Metres from the middle of the map, as the library of maps sees them.
    [map.mx, map.my] = data.metres;
    map.cx = (map.west + map.east) / 2;
    map.cy = (map.south + map.north) / 2;
    return map;
  }

  choose(index) {
    this.index = index;
    this.now = this.maps[index];
    this.selected = null;
    this.shown.rays = this.shown.rays && this.now.rays.count <= kManyRays;
    this.pattern = this.groupsShown();
    this.panel();
    this.fit();
    if (!this.map.hasLayer(this.drawing)) this.drawing.addTo(this.map);
    this.drawing.redraw();
  }

  latLng(x, y) {
    return L.latLng((y - this.now.cy) * this.now.my, (x - this.now.cx) * this.now.mx);
  }

  fit() {
    const map = this.now;
    const corner = this.latLng(map.west, map.south);
    const other = this.latLng(map.east, map.north);
    const least = 5;  // metres, when all things are at one place
    this.map.fitBounds([[Math.min(corner.lat, -least), Math.min(corner.lng, -least)],
                        [Math.max(other.lat, least), Math.max(other.lng, least)]],
                       {padding: [24, 24], animate: false});
    this.fitted = this.map.getZoom();
  }

  // Shows a place, and marks it.
  go(index, x, y) {
    if (index !== this.index) this.choose(index);
    this.selected = {x, y};
    byId('map-section').scrollIntoView();
    byId('map').focus({preventScroll: true});
    this.map.setView(this.latLng(x, y), Math.max(this.map.getZoom(), this.fitted + 2), {animate: false});
    this.drawing.redraw();
    this.point(this.map.latLngToContainerPoint(this.latLng(x, y)), true);
  }

  groupsShown() {
    return this.survey.groups.map(([code, layer]) => this.codeOn[code] && this.layerOn[layer]);
  }

  refresh() {
    this.pattern = this.groupsShown();
    this.drawing.redraw();
  }

  colour(group) { return this.survey.colours[this.survey.groups[group][0]]; }
}

function northArrow() {
  const space = 'http://www.w3.org/2000/svg';
  const svg = document.createElementNS(space, 'svg');
  svg.setAttribute('viewBox', '0 0 24 40');
  svg.setAttribute('class', 'north');
  svg.setAttribute('role', 'img');
  svg.setAttribute('aria-label', 'North is up');
  const arrow = document.createElementNS(space, 'path');
  arrow.setAttribute('d', 'M12 2l7 22l-7-5l-7 5z');
  arrow.setAttribute('fill', 'currentColor');
  const letter = document.createElementNS(space, 'text');
  for (const [name, value] of [['x', 12], ['y', 38], ['text-anchor', 'middle'], ['font-size', 13],
                               ['font-weight', 'bold'], ['fill', 'currentColor']]) {
    letter.setAttribute(name, value);
  }
  letter.textContent = 'N';
  svg.append(arrow, letter);
  return svg;
}

// Drawing of everything that is switched on.
Object.assign(SurveyMap.prototype, {
  draw(canvas, ratio, view) {
    const started = performance.now();
    const pen = this.pen = canvas.getContext('2d');
    const map = this.now;
    const sx = map.mx * view.scale;
    const sy = map.my * view.scale;
    this.across = x => view.x + (x - map.cx) * sx;
    this.down = y => view.y - (y - map.cy) * sy;
    this.view = view;
    this.box = {west: map.cx - view.x / sx, east: map.cx + (view.width - view.x) / sx,
                north: map.cy + view.y / sy, south: map.cy - (view.height - view.y) / sy};
    this.room = new Room(view.width, view.height);
    const style = getComputedStyle(document.documentElement);
    this.ink = style.getPropertyValue('--ink').trim();
    this.paper = style.getPropertyValue('--paper').trim();
    this.inks = Object.fromEntries(['error', 'warning', 'note'].map(
      kind => [kind, style.getPropertyValue('--' + kind).trim()]));
    pen.setTransform(ratio, 0, 0, ratio, 0, 0);
    pen.clearRect(0, 0, view.width, view.height);
    this.drawShapes('polygons', {area: true, width: 1, alpha: 1});
    this.drawShapes('rays', {width: 0.7, alpha: 0.55});
    this.drawShapes('lines', {width: 1.6, alpha: 1});
    const rows = this.drawPoints(canvas, ratio);
    this.drawMarks();
    this.drawLabels(rows);
    if (this.selected) {
      pen.lineWidth = 3;
      pen.strokeStyle = this.inks.error;
      pen.beginPath();
      pen.arc(this.across(this.selected.x), this.down(this.selected.y), 13, 0, 7);
      pen.stroke();
    }
    window.tavoReport.drawn = performance.now() - started;
  },

  // Shapes of one colour are drawn together, areas each for itself.
  drawShapes(kind, style) {
    if (!this.shown[kind]) return;
    const {pen, box} = this;
    const shapes = this.now[kind];
    const batches = new Map();
    let many = 0;
    for (let i = 0; i < shapes.count; ++i) {
      const group = shapes.group[i];
      if ((kind !== 'rays' && !this.pattern[group]) || shapes.east[i] < box.west || shapes.west[i] > box.east ||
          shapes.north[i] < box.south || shapes.south[i] > box.north) continue;
      ++many;
      if (!batches.has(group)) batches.set(group, []);
      batches.get(group).push(i);
    }
    pen.lineWidth = many > kLabelled ? 1 : style.width;
    const together = style.area ? 1 : 200;
    for (const [group, batch] of batches) {
      pen.strokeStyle = pen.fillStyle = this.colour(group);
      for (let begin = 0; begin < batch.length; begin += together) {
        pen.beginPath();
        for (const i of batch.slice(begin, begin + together)) this.trace(shapes, i);
        if (style.area) {
          pen.globalAlpha = 0.18;
          pen.fill('evenodd');
        }
        pen.globalAlpha = style.alpha;
        pen.stroke();
      }
    }
    pen.globalAlpha = 1;
  },

  trace(shapes, i) {
    const {pen, across, down} = this;
    for (let run = shapes.firstRun[i]; run < shapes.firstRun[i + 1]; ++run) {
      const begin = shapes.firstVertex[run];
      for (let v = begin; v < shapes.firstVertex[run + 1]; ++v) {
        if (v === begin) pen.moveTo(across(shapes.x[v]), down(shapes.y[v]));
        else pen.lineTo(across(shapes.x[v]), down(shapes.y[v]));
      }
    }
  },

  // Draws points and returns the rows of those in sight, if they are few enough for labels.
  drawPoints(canvas, ratio) {
    if (!this.shown.points) return [];
    const {x, y, group} = this.points;
    const {box, pattern} = this;
    const rows = [];
    let many = 0;
    this.now.grid.each(box, (all, begin, end) => {
      many += end - begin;
      if (many > kDots) return;
      for (let i = begin; i < end; ++i) {
        const row = all[i];
        if (pattern[group[row]] && x[row] >= box.west && x[row] <= box.east && y[row] >= box.south &&
            y[row] <= box.north) rows.push(row);
      }
    });
    if (many > kDots) {
      this.drawDots(canvas, ratio);
      return [];
    }
    const {pen, across, down} = this;
    const half = rows.length > kLabelled ? 1.4 : 2.4;
    for (const row of rows) {
      pen.fillStyle = this.colour(group[row]);
      const left = across(x[row]);
      const top = down(y[row]);
      pen.fillRect(left - half, top - half, 2 * half, 2 * half);
      if (rows.length <= kLabelled) this.room.take(left - 2, top - 2, 4, 4, true);
    }
    return rows.length <= kLabelled ? rows : [];
  },

  // Very many points: each colours the pixels under it.
  drawDots(canvas, ratio) {
    const {x, y, group} = this.points;
    const {width, height} = canvas;
    const image = this.pen.createImageData(width, height);
    const pixels = new Uint32Array(image.data.buffer);
    const colours = this.survey.groups.map(([code], i) => {
      const rgb = parseInt(this.survey.colours[code].slice(1), 16);
      return this.pattern[i] ? (0xff000000 | (rgb & 0xff) << 16 | rgb & 0xff00 | rgb >> 16) >>> 0 : 0;
    });
    const map = this.now;
    const sx = map.mx * this.view.scale * ratio;
    const sy = map.my * this.view.scale * ratio;
    const left = this.view.x * ratio - map.cx * sx;
    const top = this.view.y * ratio + map.cy * sy;
    map.grid.each(this.box, (all, begin, end) => {
      for (let i = begin; i < end; ++i) {
        const row = all[i];
        const colour = colours[group[row]];
        const column = (left + x[row] * sx) | 0;
        const line = (top - y[row] * sy) | 0;
        if (colour === 0 || column < 0 || line < 0 || column >= width - 1 || line >= height - 1) continue;
        const at = line * width + column;
        pixels[at] = pixels[at + 1] = pixels[at + width] = pixels[at + width + 1] = colour;
      }
    });
    const dots = this.dots || (this.dots = document.createElement('canvas'));
    dots.width = width;
    dots.height = height;
    dots.getContext('2d').putImageData(image, 0, 0);
    this.pen.drawImage(dots, 0, 0, width / ratio, height / ratio);
  },

  // Setups, flags of annotations, findings.
  drawMarks() {
    const {pen, across, down} = this;
    pen.lineWidth = 1.5;
    for (const setup of this.shown.setups ? this.now.setups : []) {
      const [x, y] = [across(setup.x), down(setup.y)];
      pen.strokeStyle = this.ink;
      pen.beginPath();
      pen.moveTo(x, y - 8);
      pen.lineTo(x + 7, y + 4);
      pen.lineTo(x - 7, y + 4);
      pen.closePath();
      pen.stroke();
      this.room.take(x - 7, y - 8, 14, 12, true);
    }
    for (const note of this.shown.annotations ? this.now.data.annotations : []) {
      if (!this.pattern[note.group]) continue;
      const [x, y] = [across(note.x), down(note.y)];
      pen.lineWidth = 1;
      pen.strokeStyle = this.ink;
      pen.fillStyle = '#ffd54a';
      pen.beginPath();
      pen.moveTo(x, y);
      pen.lineTo(x, y - 12);
      pen.lineTo(x + 9, y - 12);
      pen.lineTo(x + 9, y - 6);
      pen.lineTo(x, y - 6);
      pen.fill();
      pen.stroke();
      this.room.take(x, y - 12, 9, 12, true);
    }
    for (const {x, y, finding} of this.shown.findings ? this.now.findings : []) {
      pen.strokeStyle = this.inks[finding.kind];
      pen.lineWidth = 2.2;
      pen.beginPath();
      pen.moveTo(across(x) - 5, down(y) - 5);
      pen.lineTo(across(x) + 5, down(y) + 5);
      pen.moveTo(across(x) + 5, down(y) - 5);
      pen.lineTo(across(x) - 5, down(y) + 5);
      pen.stroke();
    }
  },

  write(text, x, y, style) {
    const {pen} = this;
    pen.font = (style.font || '') + ' 11px system-ui, "DejaVu Sans", sans-serif';
    pen.lineWidth = 3;
    pen.lineJoin = 'round';
    pen.strokeStyle = this.paper;
    pen.strokeText(text, x, y);
    pen.fillStyle = style.ink || this.ink;
    pen.fillText(text, x, y);
  },

  // Beside its place where there is room, else not at all.
  label(text, x, y, style) {
    if (text === '') return;
    const width = this.pen.measureText(text).width + 2;
    for (const [dx, dy] of [[6, -6], [-6 - width, -6], [-width / 2, -17], [-width / 2, 5]]) {
      if (!this.room.take(x + dx, y + dy, width, 11)) continue;
      this.write(text, x + dx, y + dy + 10, style);
      return;
    }
  },

  drawLabels(rows) {
    const {across, down} = this;
    for (const note of this.shown.texts ? this.now.data.texts : []) {
      if (!this.pattern[note.group]) continue;
      note.text.split('\n').forEach((line, i) => {
        this.room.take(across(note.x), down(note.y) + 13 * i - 11, line.length * 6, 11, true);
        this.write(line, across(note.x), down(note.y) + 13 * i, {font: 'italic'});
      });
    }
    this.pen.font = '11px system-ui, "DejaVu Sans", sans-serif';
    for (const setup of this.shown.setups ? this.now.setups : []) {
      this.label(setup.columns[1].text(setup.row) || setup.columns[0].text(setup.row),
                 across(setup.x), down(setup.y) - 8, {font: 'bold'});
    }
    const {number, id, x, y} = this.points;
    if (rows.length === 0 && this.shown.points) return;
    for (const kind of ['polygons', 'lines']) this.labelShapes(kind);
    for (const row of rows) {
      this.label(id(row) || fixed(number[row], 0), across(x[row]), down(y[row]), {});
    }
  },

  labelShapes(kind) {
    if (!this.shown[kind]) return;
    const shapes = this.now[kind];
    const columns = columnsOnce(this.survey[kind]);
    for (let i = 0; i < Math.min(shapes.count, kLabelled); ++i) {
      if (!this.pattern[shapes.group[i]]) continue;
      const middle = Math.floor((shapes.firstVertex[shapes.firstRun[i]] +
                                 shapes.firstVertex[shapes.firstRun[i] + 1]) / 2);
      const area = kind === 'polygons';
      const text = nameIn(columns, shapes.owner[i]);
      const x = area ? (shapes.west[i] + shapes.east[i]) / 2 : shapes.x[middle];
      const y = area ? (shapes.south[i] + shapes.north[i]) / 2 : shapes.y[middle];
      const shift = area ? this.pen.measureText(text).width / 2 + 6 : 0;
      this.label(text, this.across(x) - shift, this.down(y), {font: 'italic'});
    }
  },
});

// The columns of a table, decoded once.
function columnsOnce(table) {
  if (!table.decoded) Object.defineProperty(table, 'decoded', {value: columnsOf(table)});
  return table.decoded;
}

// Identifier of a row, or its number.
function nameIn(columns, row) {
  const id = columns.find(column => column.name === 'ID');
  return id && id.text(row) || columns[0].text(row);
}

// What is under the mouse, and the panel of switches.
Object.assign(SurveyMap.prototype, {
  // Tells of the thing next to a place on the screen; kept until the next click when it was clicked.
  point(at, clicked, reach = kReach) {
    if (this.kept && !clicked) return;
    if (!this.now) return;
    const place = this.map.containerPointToLatLng(at);
    const map = this.now;
    const x = map.cx + place.lng / map.mx;
    const y = map.cy + place.lat / map.my;
    const metres = reach / this.map.options.crs.scale(this.map.getZoom());
    const found = this.nearest(x, y, metres);
    this.kept = clicked && found !== null;
    byId('values').replaceChildren(...(found ? found() : this.position(x, y)));
  },

  position(x, y) {
    const {axes, unit, decimals} = this.now.data;
    const short = Math.max(decimals - 2, 0);
    return [fact(axes[0], fixed(x, short), unit), fact(axes[1], fixed(y, short), unit)];
  },

  // A function that makes the words on the nearest thing within so many metres, or null.
  nearest(x, y, metres) {
    const map = this.now;
    let best = metres;
    let words = null;
    const near = (px, py, make) => {
      const distance = Math.hypot((px - x) * map.mx, (py - y) * map.my);
      if (distance > best) return;
      best = distance;
      words = make;
    };
    const {x: xs, y: ys, group} = this.points;
    if (this.shown.points) {
      const reach = [metres / map.mx, metres / map.my];
      let row = -1;
      map.grid.each({west: x - reach[0], east: x + reach[0], south: y - reach[1], north: y + reach[1]},
                    (all, begin, end) => {
        for (let i = begin; i < end; ++i) {
          const distance = Math.hypot((xs[all[i]] - x) * map.mx, (ys[all[i]] - y) * map.my);
          if (distance > best || !this.pattern[group[all[i]]]) continue;
          best = distance;
          row = all[i];
        }
      });
      if (row >= 0) words = () => this.pointWords(row);
    }
    for (const setup of this.shown.setups ? map.setups : []) {
      near(setup.x, setup.y, () => [el('b', {}, 'Setup'), ...setup.columns.map(
        column => fact(column.name, column.text(setup.row), column.unit))]);
    }
    for (const kind of ['annotations', 'texts']) {
      for (const note of this.shown[kind] ? map.data[kind] : []) {
        near(note.x, note.y, () => [el('b', {}, kind === 'texts' ? 'Text' : 'Annotation'),
                                    fact('', note.text), fact('Line', whole.format(note.line)),
                                    ...(words ? [el('br'), ...this.pointAt(note.x, note.y)] : [])]);
      }
    }
    for (const {x: fx, y: fy, finding} of this.shown.findings ? map.findings : []) {
      near(fx, fy, () => [el('b', {class: 'kind-' + finding.kind}, finding.code || finding.kind),
                          fact('', finding.message + (finding.text ? ': ' + finding.text : '')),
                          finding.line ? fact('Line', whole.format(finding.line)) : '']);
    }
    return words;
  },

  // Words on a point that lies just there, below those on a mark.
  pointAt(x, y) {
    let words = [];
    const {x: xs, y: ys} = this.points;
    this.now.grid.each({west: x, east: x, south: y, north: y}, (all, begin, end) => {
      for (let i = begin; i < end; ++i) {
        if (xs[all[i]] === x && ys[all[i]] === y) words = this.pointWords(all[i]);
      }
    });
    return words;
  },

  pointWords(row) {
    const {x, y, z, number, id, group} = this.points;
    const {axes, unit, decimals} = this.now.data;
    const words = [el('b', {}, 'Point ' + fixed(number[row], 0)), fact('ID', id(row)),
                   fact('Code', this.survey.codes[this.survey.groups[group[row]][0]]),
                   fact(axes[0], fixed(x[row], decimals), unit),
                   fact(axes[1], fixed(y[row], decimals), unit),
                   axes[2] ? fact(axes[2], fixed(z[row], 4), 'm') : null];
    for (const column of this.few ? this.values() : []) {
      if (axes.includes(column.name)) continue;
      words.push(fact(column.name, column.text(row), column.unit));
    }
    return words.filter(word => word !== null);
  },

  // The further values of points, decoded when they are first asked for.
  values() {
    if (!this.fields) {
      this.fields = this.few().map(column => ({
        name: column.name, unit: column.unit, text: column.texts ? texts(column.texts)
          : row => column.values[row] === null ? '' : String(column.values[row]),
      }));
    }
    return this.fields;
  },

  panel() {
    const {survey, now} = this;
    const count = {points: now.rows, lines: now.lines.count, polygons: now.polygons.count,
                   rays: now.rays.count, setups: now.setups.length,
                   annotations: now.data.annotations.length, texts: now.data.texts.length,
                   findings: now.findings.length};
    const parts = [];
    if (this.maps.length > 1) {
      const choice = el('select', {
        'aria-label': 'Reference system', change: () => this.choose(choice.selectedIndex),
      }, ...survey.maps.map((map, i) => el('option', {selected: i === this.index ? '' : null}, map.name)));
      parts.push(el('fieldset', {}, el('legend', {}, 'Reference system'), choice));
    }
    const find = el('input', {type: 'search', 'aria-label': 'Number or identifier of a point',
                              placeholder: 'number or ID'});
    const answer = el('span', {role: 'status'});
    const search = () => { answer.textContent = this.find(find.value.trim()); };
    find.addEventListener('keydown', event => {
      if (event.key !== 'Enter') return;
      event.preventDefault();
      search();
    });
    parts.push(el('fieldset', {}, el('legend', {}, 'Find a point'), find, el('div', {class: 'row'},
      el('button', {type: 'button', click: search}, 'Find'),
      el('button', {type: 'button', click: () => this.fit()}, 'Show all')), answer));
    parts.push(this.switches('Show', kKinds.map(([kind, name]) => ({
      name, count: count[kind], on: this.shown[kind], set: on => { this.shown[kind] = on; }}))));
    const perGroup = new Uint32Array(survey.groups.length);
    for (const row of now.grid.rows) ++perGroup[this.points.group[row]];
    for (const kind of ['lines', 'polygons']) now[kind].group.forEach(group => ++perGroup[group]);
    for (const kind of ['annotations', 'texts']) {
      now.data[kind].forEach(note => ++perGroup[note.group]);
    }
    const perCode = survey.codes.map(() => 0);
    const perLayer = survey.layers.map(() => 0);
    survey.groups.forEach(([code, layer], i) => {
      perCode[code] += perGroup[i];
      perLayer[layer] += perGroup[i];
    });
    parts.push(this.switches('Codes', survey.codes.map((code, i) => ({
      name: code || 'without code', count: perCode[i], colour: survey.colours[i], on: this.codeOn[i],
      set: on => { this.codeOn[i] = on; }}))));
    if (survey.layers.some(layer => layer.number !== undefined)) {
      parts.push(this.switches('Layers', survey.layers.map((layer, i) => ({
        name: layer.number === undefined ? 'without layer' : layer.number + ' ' + layer.name,
        count: perLayer[i], on: this.layerOn[i], set: on => { this.layerOn[i] = on; }}))));
    }
    byId('panel').replaceChildren(...parts);
  },

  switches(title, entries) {
    entries = entries.filter(entry => entry.count > 0);
    const boxes = entries.map(entry => {
      const box = el('input', {type: 'checkbox', change: () => {
        entry.set(box.checked);
        this.refresh();
      }});
      box.checked = entry.on;
      return box;
    });
    const all = on => {
      boxes.forEach((box, i) => {
        box.checked = on;
        entries[i].set(on);
      });
      this.refresh();
    };
    return el('fieldset', {}, el('legend', {}, title), ...entries.map((entry, i) => {
      const swatch = entry.colour ? el('span', {class: 'swatch'}) : null;
      if (swatch) swatch.style.background = entry.colour;
      return el('label', {}, boxes[i], swatch, entry.name, el('i', {}, whole.format(entry.count)));
    }), entries.length > 2 ? el('div', {class: 'row'},
      el('button', {type: 'button', click: () => all(true), 'aria-label': title + ': all'}, 'All'),
      el('button', {type: 'button', click: () => all(false), 'aria-label': title + ': none'}, 'None')) : null);
  },

  find(word) {
    const {number, id, map, x, y} = this.points;
    for (let row = 0; row < number.length; ++row) {
      if (id(row) !== word && String(number[row]) !== word) continue;
      if (Number.isNaN(map[row])) return 'it has no coordinates';
      this.go(map[row], x[row], y[row]);
      return '';
    }
    return word === '' ? '' : 'there is no such point';
  },
});

// "Name value unit", nothing without a value.
function fact(name, value, unit) {
  if (value === '') return null;
  return el('span', {}, name ? el('i', {}, name + ' ') : '', value, unit ? ' ' + unit : '');
}

// --- The plot of time ---------------------------------------------------------------------------

const kSeries = [['points', 'point', '#2f7ed8'], ['setups', 'setup', '#d9541e'],
                 ['slopes', 'sighting', '#2e9e4f'], ['codes', 'code', '#9b59b6']];
const kSteps = [1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 21600, 43200, 86400,
                172800, 604800, 2592000, 7776000, 31536000];
const kBins = 120;

class TimePlot {
  constructor(host, survey) {
    this.host = host;
    this.times = kSeries.map(([name]) => numbers(survey.times[name]));
    this.first = Math.min(...this.times.filter(one => one.length > 0).map(one => one[0]));
    this.last = Math.max(...this.times.filter(one => one.length > 0).map(one => one[one.length - 1]));
    this.plot = null;
    this.make();
  }

  // How many records fall into each step of a range of time.
  bins(from, to) {
    const step = kSteps.find(one => (to - from) / one <= kBins) || Math.ceil((to - from) / kBins);
    const start = Math.floor(from / step) * step;
    const count = Math.floor((to - start) / step) + 2;
    const data = [Float64Array.from({length: count}, (_, i) => start + i * step)];
    for (const times of this.times) {
      const bins = new Float64Array(count);
      for (let i = lowerBound(times, start); i < times.length && times[i] <= to; ++i) {
        ++bins[Math.floor((times[i] - start) / step)];
      }
      data.push(bins);
    }
    this.step = step;
    return data;
  }

  make(width) {
    if (this.plot) this.plot.destroy();
    const style = getComputedStyle(document.documentElement);
    const axis = {stroke: style.getPropertyValue('--ink').trim(),
                  grid: {stroke: style.getPropertyValue('--rule').trim(), width: 1},
                  ticks: {stroke: style.getPropertyValue('--rule').trim(), width: 1}};
    const stepped = uPlot.paths.stepped({align: 1});
    const used = kSeries.filter((_, i) => this.times[i].length > 0);
    let busy = false;
    const rebin = plot => {
      if (busy) return;
      busy = true;
      const {min, max} = plot.scales.x;
      const data = this.bins(Math.max(min, this.first), Math.min(max, this.last));
      plot.setData(data.filter((_, i) => i === 0 || this.times[i - 1].length > 0), false);
      plot.setScale('x', {min, max});
      busy = false;
    };
    const data = this.bins(this.first, this.last);
    const end = Math.max(this.last, this.first + 59) + this.step;
    this.plot = new uPlot({
      width: width || this.host.clientWidth, height: 260,
      tzDate: seconds => uPlot.tzDate(new Date(seconds * 1000), 'Etc/UTC'),
      scales: {x: {time: true, range: (_, min, max) => [min ?? this.first, max ?? end]}, y: {range: (_, min, max) => [0, Math.max(max || 1, 1) * 1.05]}},
      axes: [{...axis, values: kTimes, space: 80}, {...axis, label: 'records', size: 60}],
      series: [{label: 'From', value: (_, value) => value == null ? '–' : timeText(value)},
               ...used.map(([, label, stroke]) => ({label: label + 's', stroke, fill: stroke + '30', width: 1.5, paths: stepped, points: {show: false}}))],
      hooks: {setSelect: [plot => setTimeout(() => rebin(plot))]},
      cursor: {bind: {dblclick: plot => () => {
        plot.setScale('x', {min: this.first, max: end});
        rebin(plot);
      }}},
    }, data.filter((_, i) => i === 0 || this.times[i - 1].length > 0), this.host);
  }
}

// Labels of the axis: hours and minutes, with the date under the first of each day.
const kTimes = [
  [31536000, '{YYYY}', null, null, null, null, null, null, 1],
  [2419200, '{YYYY}-{MM}', null, null, null, null, null, null, 1],
  [86400, '{YYYY}-{MM}-{DD}', null, null, null, null, null, null, 1],
  [60, '{HH}:{mm}', '\n{YYYY}-{MM}-{DD}', null, '\n{YYYY}-{MM}-{DD}', null, null, null, 1],
  [1, '{HH}:{mm}:{ss}', '\n{YYYY}-{MM}-{DD}', null, '\n{YYYY}-{MM}-{DD}', null, null, null, 1],
];
const timeText = seconds => new Date(seconds * 1000).toISOString().replace('T', ' ').slice(0, 19);

function lowerBound(values, value) {
  let low = 0;
  let high = values.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (values[middle] < value) low = middle + 1;
    else high = middle;
  }
  return low;
}

// --- Sections -----------------------------------------------------------------------------------

function list(title, pairs) {
  return el('div', {}, el('h3', {}, title), el('dl', {}, ...pairs.flatMap(
    ([name, value]) => [el('dt', {}, name), el('dd', {}, value)])));
}

function showHead(survey) {
  const {counts} = survey;
  const count = (name, value) => [name, el('span', {'data-count': name}, whole.format(value))];
  const file = [['File', survey.file], ['Size', whole.format(survey.size) + ' bytes'],
                ['SHA-256', el('span', {class: 'hash'}, survey.sha256 || 'not known')],
                ['Read by', survey.tool], count('lines', counts.lines),
                count('records', counts.records), count('errors', counts.errors),
                count('warnings', counts.warnings)];
  if (survey.span) file.push(['Time', survey.span.join(' to ')]);
  const units = survey.units.flatMap((one, i) => Object.entries(one).map(
    ([name, value]) => [(i > 0 ? 'then ' : '') + name, typeof value === 'number' ? value + ' m' : value]));
  const systems = survey.maps.map(map => [map.name, map.wkt
    ? el('details', {}, el('summary', {}, 'Definition (WKT)'), el('pre', {}, map.wkt))
    : 'no reference system']);
  const parts = [list('File', file)];
  const project = survey.project.concat(survey.header);
  if (project.length > 0) parts.push(list('Project', project));
  parts.push(list(systems.length > 1 ? 'Reference systems' : 'Reference system',
                  systems.length > 0 ? systems : [['none', 'nothing has coordinates']]),
             list('Units of the file', units),
             list('Records', survey.blocks.map(([name, n]) => count(name, n))));
  byId('head').replaceChildren(el('div', {class: 'facts'}, ...parts));
  byId('title').textContent = survey.title;
  byId('notes').hidden = !survey.notes;
  byId('notes').textContent = (survey.notes || []).join('\n');
}

function showTime(survey) {
  const host = byId('time');
  host.replaceChildren();
  thePlot = null;
  if (!survey.span) {
    host.append(el('p', {class: 'empty'}, 'No record has a time.'));
    return;
  }
  const parts = kSeries.filter(([name]) => survey.times[name].rows > 0)
    .map(([name, label]) => counted(survey.times[name].rows, label));
  host.append(el('p', {}, 'From ' + survey.span.join(' to ') + ', with a time: ' + parts.join(', ') + '. Drag over a part to enlarge it, double click for all.'));
  const frame = el('div', {role: 'img', 'aria-label': 'Records in the course of time: ' + parts.join(', ')});
  host.append(frame);
  thePlot = new TimePlot(frame, survey);
}

function showObservations(survey) {
  const host = byId('observations');
  host.replaceChildren();
  if (survey.setups.rows === 0) {
    host.append(el('p', {class: 'empty'}, 'There are no setups.'));
    return;
  }
  const section = (title, text) => {
    host.append(el('h3', {}, title), text ? el('p', {class: 'empty'}, text) : '');
    return host;
  };
  const open = survey.sightings ? [{name: 'Table', screen: true, cell: row => el('button', {
    type: 'button', class: 'link', 'aria-label': 'Sightings of setup ' + (row + 1),
    click: () => choose(row, true)}, 'sightings')}] : [];
  addTable(section('Setups and instrument heights'), 'Setups', survey.setups, open);
  let choose = () => {};
  if (survey.sightings && survey.sightings.rows > 0) choose = showSightings(survey, section);
  if (survey.pairs.rows > 0) {
    addTable(section('Two-face differences', 'Face two less face one; a sound instrument has small ones of one size.'),
             'Two-face differences', survey.pairs);
  }
  if (survey.repetitions.rows > 0) {
    addTable(section('Repeatability of sets', 'Standard deviation of one set, for targets sighted in several sets of a setup.'),
             'Repeatability', survey.repetitions);
  }
  for (const [name, what] of [['pairs', 'No target was sighted in both faces.'],
                              ['repetitions', 'No target was sighted in several sets of one setup.']]) {
    if (survey[name].rows === 0) host.append(el('p', {class: 'empty'}, what));
  }
}

// The sightings of one setup, which is chosen; returns the function that chooses.
function showSightings(survey, section) {
  const host = section('Sightings of a setup');
  const setup = numbers(survey.sightings.setup);
  const rows = Array.from({length: survey.setups.rows}, () => []);
  const stray = [];
  setup.forEach((at, row) => (Number.isNaN(at) ? stray : rows[at]).push(row));
  const names = columnsOnce(survey.setups);
  const options = rows.map((one, i) => (i + 1) + ': ' + nameIn(names, i) + ', ' + counted(one.length, 'sighting'));
  if (stray.length > 0) {
    rows.push(stray);
    options.push('without a setup: ' + counted(stray.length, 'sighting'));
  }
  const choice = el('select', {change: () => table.show(rows[choice.selectedIndex])},
                    ...options.map(text => el('option', {}, text)));
  host.append(el('p', {class: 'tools'}, el('label', {}, 'Setup ', choice)));
  const table = addTable(host, 'Sightings', survey.sightings);
  table.show(rows[0]);
  return (row, jump) => {
    choice.selectedIndex = row;
    table.show(rows[row]);
    if (jump) {
      choice.scrollIntoView({block: 'center'});
      choice.focus({preventScroll: true});
    }
  };
}

function showTables(survey) {
  const host = byId('tables');
  host.replaceChildren();
  const {points} = survey;
  if (points.rows > 0) {
    host.append(el('h3', {}, counted(points.rows, 'point')));
    const p = theMap.points;
    const columns = columnsOf(points);
    const codeOf = row => survey.codes[survey.groups[p.group[row]][0]];
    const decimals = survey.maps.length > 0 ? survey.maps[0].decimals : 4;
    const [east, north, height] = survey.maps.length > 0 ? survey.maps[0].axes : ['x', 'y', 'z'];
    const unit = survey.maps.length > 0 ? survey.maps[0].unit : '';
    columns.push(textColumn('Code', codeOf), numberColumn(east, unit, p.x, decimals),
                 numberColumn(north, unit, p.y, decimals), numberColumn(height || 'Height', 'm', p.z, 4),
                 mapColumn(placesOf(points), row => 'point ' + columns[0].text(row)));
    new Table(host, 'Points', columns, points.rows);
  }
  for (const [name, title] of [['lines', 'line'], ['polygons', 'polygon']]) {
    if (survey[name].rows === 0) continue;
    host.append(el('h3', {}, counted(survey[name].rows, title)));
    addTable(host, title[0].toUpperCase() + title.slice(1) + 's', survey[name]);
  }
  if (host.childNodes.length === 0) host.append(el('p', {class: 'empty'}, 'There are no points, lines or polygons.'));
}

function sourceCell(finding) {
  if (!finding.source) return finding.text || '';
  if (typeof finding.source === 'string') return el('code', {}, finding.source.trim());
  const [before, marked, after] = finding.source;
  return el('code', {}, before.trimStart(), el('mark', {}, marked || '\u00a0'), after);
}

function showFindings(survey) {
  const host = byId('findings');
  host.replaceChildren();
  const all = survey.findings;
  const kinds = {error: 0, warning: 1, note: 2};
  host.append(el('p', {id: 'finding-summary'}, all.length === 0 ? 'The check found nothing.'
    : counted(survey.counts.errors, 'error') + ', ' + counted(survey.counts.warnings, 'warning') + ', ' +
      counted(all.filter(one => one.kind === 'note').length, 'note')));
  const kindColumn = list => ({name: 'Kind', value: row => String(kinds[list[row].kind]), text: row => list[row].kind,
                               cell: row => el('span', {class: 'kind-' + list[row].kind}, list[row].kind)});
  const lineColumn = list => ({name: 'Line', number: true, value: row => list[row].line ?? NaN,
                               text: row => String(list[row].line ?? '')});
  const placeColumn = list => ({name: 'Map', screen: true, cell: row => {
    const {place, near, line} = list[row];
    return place ? el('button', {type: 'button', class: 'link', 'data-finding': row,
                                 'aria-label': 'Show the finding of line ' + line + ' on the map',
                                 click: () => theMap.go(...place)},
                      near ? 'near (line ' + near + ')' : 'show') : '–';
  }});
  if (all.length > 0) {
    new Table(host, 'Findings', [
      lineColumn(all), kindColumn(all),
      textColumn('Code', row => all[row].code),
      {name: 'What is wrong', value: row => all[row].message, text: row => all[row].message,
       cell: row => el('div', {}, el('p', {}, all[row].message),
                       survey.explanations[all[row].code] ? el('p', {class: 'why'}, survey.explanations[all[row].code]) : null)},
      {name: 'Line of the file', text: row => [all[row].source || all[row].text || ''].flat().join(''),
       cell: row => sourceCell(all[row])},
      placeColumn(all)], all.length);
  }
  const geometry = survey.geometry;
  if (geometry.length === 0) return;
  host.append(el('h3', {}, 'Geometry and reference systems'));
  new Table(host, 'What was met in working out the map', [
    lineColumn(geometry), kindColumn(geometry), textColumn('About', row => geometry[row].about || ''),
    textColumn('What', row => geometry[row].message), placeColumn(geometry)], geometry.length);
}

// --- Printing and themes ------------------------------------------------------------------------

const kPaper = 660;  // pixels that A4 is wide

// Paper is narrower than the window, light, and shows longer tables.
function forPrint(printing) {
  for (const table of tables) {
    table.fill(printing ? kPrinted : kPage);
    if (printing && table.order.length > kPrinted) table.status.textContent += ' (printed)';
  }
  const {map} = theMap;
  if (!byId('map-area').hidden) {
    const box = byId('map');
    if (printing) theMap.before = [map.getBounds(), map.getCenter(), map.getZoom()];
    box.style.width = printing ? kPaper + 'px' : '';
    box.style.height = printing ? '480px' : '';
    map.invalidateSize({animate: false});
    const [bounds, center, zoom] = theMap.before;
    if (printing) map.fitBounds(bounds, {animate: false});
    else map.setView(center, zoom, {animate: false});
  }
  redrawAll(printing ? kPaper : 0);
}

function redrawAll(width) {
  if (!byId('map-area').hidden) theMap.drawing.redraw();
  if (thePlot) thePlot.make(width);
}

// --- Start --------------------------------------------------------------------------------------

let thePlot = null;
window.tavoReport = {};
const theMap = new SurveyMap();
window.tavoReport.map = theMap.map;

function show(index) {
  tables.length = 0;
  const survey = json('survey-' + index);
  theMap.fields = null;
  theMap.kept = false;
  byId('values').textContent = 'Point at something to see its values; a click keeps them.';
  showHead(survey);
  const values = 'points-' + index;
  theMap.take(survey, byId(values).textContent === 'null' ? null : () => json(values));
  window.tavoReport.firstMap = performance.now();
  // The map is there first, the rest follows.
  setTimeout(() => {
    showTime(survey);
    showObservations(survey);
    showTables(survey);
    showFindings(survey);
    window.tavoReport.ready = performance.now();
  });
}

const names = json('index');
if (names.length > 1) {
  const choice = byId('survey');
  choice.append(...names.map(name => el('option', {}, name)));
  choice.addEventListener('change', () => show(choice.selectedIndex));
  byId('survey-choice').hidden = false;
}
show(0);

window.addEventListener('beforeprint', () => forPrint(true));
window.addEventListener('afterprint', () => forPrint(false));
window.matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => redrawAll(0));
window.addEventListener('resize', later(150, () => {
  if (thePlot) thePlot.plot.setSize({width: thePlot.host.clientWidth, height: 260});
}));

})();
