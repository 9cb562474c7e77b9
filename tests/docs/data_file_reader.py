"""Reads a data file by docs/data-file.md alone, tables included, and compares with `tavo dump`.

data_file_reader.py TOOL TABLES DOCUMENT EXAMPLES SCRATCH: TABLES prints what the tables must be.
"""

import json
import pathlib
import re
import struct
import subprocess
import sys

SIGNATURE = {4: 86, 16: 65, 20: 76, 24: 73, 32: 68, 40: 65, 48: 84, 56: 49}
NUMBERS = {"H": "B", "U": "<H", "L": "<I", "X": "<Q", "F": "<f", "D": "<d"}
# "41 PointNo = 72 LineNo L4 #3", "132 LAMPRJ_TYPE -": names, letters, kind.
FIELD = r"((?:[\w-]+ \w+(?: = )?)+)(?: -|((?: [A-Z]\d+(?: #\d)?)+)(?: (\w+))?)"
COLUMNS = [("S", 250, 0), ("B", 164, 0)]
# What stands in front of the fields, by kind of data file.
HEADS = {"compatible": [("U", 2, 1)],
         "complete": [("L", 4, 1), ("L", 4, 0), ("X", 8, 0), ("X", 8, 0)]}
TIME_TAGGED = 91
ENTRY = struct.Struct("<31sI31sdi")


class Document:
    """The tables of the document."""

    def __init__(self, text):
        self.lists = {}  # record type: letter, length and index of its fields
        self.shown = {}  # record type: column numbers and names, kind and number of letters
        self.sort_codes = {}
        self.columns = {}  # columns record type: name by column number
        blocks = re.findall(r"^(\S.*): columns (\d+) (.*), data (\d+) (.*)\n((?:  .*\n)+)",
                            self.block(text, "records"), re.M)
        columns_of = {}  # record type: its columns record type
        for _path, columns, columns_kept, data, kept, fields in blocks:
            for record_type, code in (columns, columns_kept), (data, kept):
                if code != "not kept":
                    self.sort_codes[int(record_type)] = int(code.removeprefix("at "))
            self.lists[int(columns)] = COLUMNS
            columns_of[int(data)] = int(columns)
            self.add_fields(int(columns), int(data), " ".join(fields.split()).split(", "))
        given = re.findall(r"^(\d+) .*\n((?:  .*\n)+)", self.block(text, "given"), re.M)
        # Columns record type: column number by bit, none for a member that is no column.
        self.given = {columns_of[int(data)]: " ".join(numbers.split()).split(", ")
                      for data, numbers in given}
        self.names = self.pairs(self.block(text, "names"))
        self.operations = self.pairs(self.block(text, "operations"))

    @staticmethod
    def block(text, title):
        return re.search(f"```{title}\n(.*?)```", text, re.S).group(1)

    @staticmethod
    def pairs(text):
        return {int(n): name for n, name in (item.split() for item in text.split(","))}

    def add_fields(self, columns, data, items):
        self.lists[data], self.shown[data] = [], []
        names = self.columns.setdefault(columns, {})
        for item in items:
            pairs, letters, kind = re.fullmatch(FIELD, item).groups()
            pairs = [pair.split() for pair in pairs.split(" = ")]
            names.update({int(n): name for n, name in pairs if n != "-"})
            if letters is None:
                continue
            letters = re.findall(r"([A-Z])(\d+)(?: #(\d))?", letters)
            self.lists[data] += [(a, int(n), int(i or 0)) for a, n, i in letters]
            self.shown[data].append(([name for _, name in pairs], kind, len(letters)))

    def list_of(self, record_type, kind):
        values = [("B", 1560, 0)] if kind == "complete" and record_type == TIME_TAGGED else []
        return HEADS[kind] + self.lists[record_type] + values

    @staticmethod
    def mark(fields):
        mark = 5381
        for letter, length, index in fields:
            mark = (mark ^ (ord(letter) + 256 * index + 65536 * length)) * 16777619 % 2**32
        return mark >> 16


class DataFile:
    """The entries of all indexes, in order."""

    def __init__(self, data):
        self.data = data
        assert all(self.u32(at) == value for at, value in SIGNATURE.items()), "signature"
        self.pages_in_use, self.records = self.u32(36), self.u32(68)
        assert len(data) >= 1024 + 1024 * max(1, self.u32(52))
        self.kind = {10: "compatible", 5: "complete"}[data[193]]
        assert data[192:213] == bytes([0, data[193], 10, 5, 0] + [0] * 15 + [2])
        self.little = data[8] == 1
        self.entries = list(self.leaves(0))
        assert self.entries == sorted(self.entries, key=self.order), "order of the entries"

    def u32(self, at):
        return struct.unpack_from("<I", self.data, at)[0]

    def page(self, number):
        assert number < self.pages_in_use
        page = self.data[1024 + 1024 * number : 2048 + 1024 * number]
        first, right, _left, level, count, free = struct.unpack_from("<Iiihhh", page)
        entries, at = [], 18
        for _ in range(count):
            entries.append(page[at : at + 1 + page[at]])
            at += 1 + page[at]
        assert free == 1024 - at
        return first, right, level, entries

    def leaves(self, number):
        first, right, level, entries = self.page(number)
        while level > 0:
            first, right, level, entries = self.page(first)
        while True:
            yield from entries
            if right == -1:
                return
            _first, right, _level, entries = self.page(right)

    def order(self, entry):
        record = struct.unpack_from("<i", entry, 3)[0]
        key = entry[7:]
        if entry[1] in (1, 2, 3):
            key = int.from_bytes(key, "little" if self.little else "big")
        return entry[1], 0 if entry[1] == 19 else key, record, entry[2] & 127

    def index(self, number):
        for entry in self.entries:
            if entry[1] == number:
                yield struct.unpack_from("<i", entry, 3)[0], entry[2], entry[7:]

    def packed(self):
        records = {}
        for number, piece, data in self.index(19):
            records[number] = records.get(number, b"") + data
            assert len(data) == 244 or piece & 128, "only the last piece may be short"
        return records


def text(raw):
    return raw.partition(b"\0")[0].decode("latin-1")


def value_of(packed, at, letter):
    """The value at the place, and where the next one stands."""
    if letter == "S":
        end = packed.index(0, at)
        return packed[at:end], end + 1
    if letter == "B":
        end = at + 2 + struct.unpack_from("<H", packed, at)[0]
        return packed[at + 2 : end], end
    return struct.unpack_from(NUMBERS[letter], packed, at)[0], at + struct.calcsize(NUMBERS[letter])


def unpack(fields, packed):
    values = [b"" if letter in "SB" else 0 for letter, _, _ in fields]
    at = 5
    while (number := struct.unpack_from("<H", packed, at)[0]) != 0xFFFF:
        values[number], at = value_of(packed, at + 2, fields[number][0])
    assert at + 2 == len(packed)
    return values


def shown(kind, letters, values, document):
    if kind == "value":
        return {100: text(values[1]), 101: values[2], 102: values[-1]}.get(values[0])
    value = values[0]
    if kind in ("name", "operation"):
        return (document.names if kind == "name" else document.operations).get(value)
    if kind == "bits":
        return f"{value:0{8 if letters[0][0] == 'H' else 16}b}"
    if kind == "char":
        return text(bytes([value]))
    if kind == "date":
        parts = struct.unpack("<7h", value.ljust(14, b"\0"))
        return "%04d-%02d-%02dT%02d:%02d:%02d.%02d" % parts if any(parts) else None
    return text(value) if isinstance(value, bytes) else value


def compare_columns(document, record_type, values, line):
    ids = [n for (n,) in struct.iter_unpack("<I", values[1].ljust(164, b"\0"))]
    points = {n: name for names in document.columns.values() for n, name in names.items()}
    names = document.columns[record_type] or points  # points lines have the columns of POINTS
    assert [names.get(n) for n in ids[: ids.index(131)]] == line["columns"], line
    assert text(values[0]) == line.get("comment", ""), line


def compare_data(document, record_type, values, line, other):
    fields = document.lists[record_type]
    expected = line.get("fields")
    if expected is None:
        expected = {f"{name}{i + 1}": value for i, point in enumerate(line["points"])
                    for name, value in point.items()}
    seen, at = set(), 0
    for names, kind, count in document.shown[record_type]:
        value = shown(kind, fields[at : at + count], values[at : at + count], document)
        at += count
        name = next((name for name in names if name in expected), None)
        if name is None:  # a member that is no column, or a point behind the last one
            assert value in (None, 0, "", document.names[0]), (names, value, line)
            continue
        seen.add(name)
        wanted = [expected[name], other.get("fields", expected).get(name)]
        if isinstance(value, float) and fields[at - 1][0] == "F":
            wanted = [struct.unpack("<f", struct.pack("<f", one))[0] for one in wanted]
        assert value in wanted, (name, value, line)
    assert seen == set(expected), (set(expected) - seen, line)


def compare_entries(entries, count, line):
    """The values of a time-tagged code, of which the dump has the live ones."""
    entries = entries.ljust(ENTRY.size * count, b"\0")
    found = [ENTRY.unpack_from(entries, i * ENTRY.size) for i in range(count)]
    values = [(value["name"], value["value"]) for value in line["fields"].pop("values")]
    assert values == [(text(name), {100: text(string), 101: real, 102: number}[kind])
                      for name, kind, string, real, number in found]
    line["fields"]["EntryCount"] = count


def compare_place(document, record_type, head, values, line):
    """What stands in front of a record's fields; of a columns record its presence, too."""
    if len(head) == 1:
        assert head[0] == document.sort_codes[record_type]
        return
    run, block, first_line, given = head
    assert run > 0 and block > 0 and first_line > 0
    if "columns" in line and record_type in document.given:
        ids = {str(n) for (n,) in struct.iter_unpack("<I", values[1].ljust(164, b"\0"))}
        assert given == sum(1 << bit for bit, n in enumerate(document.given[record_type]) if n in ids)


def compare(document, data_file, lines):
    records = data_file.packed()
    types = {number: packed[4] for number, packed in records.items()}
    assert len(records) == data_file.records
    places = list(data_file.index(1))
    assert sorted(records) == sorted(number for number, _, _ in places)
    compared, count = set(), len(HEADS[data_file.kind])
    for number, _, key in places:
        record_type = types[number]
        packed, fields = records[number], document.list_of(record_type, data_file.kind)
        assert struct.unpack_from("<H", packed)[0] == document.mark(fields), record_type
        values = unpack(fields, packed)
        head, own = values[:count], values[count:]
        assert int.from_bytes(key, "little") == head[0]
        if record_type == TIME_TAGGED and data_file.kind == "compatible":
            continue  # the tool leaves these out, since their entries are not kept
        # A value is stored as the file has it or in metres and radians: one of the two dumps shows it.
        line, other = next(lines)
        assert line["type"] == record_type
        compare_place(document, record_type, head, own, line)
        if record_type == TIME_TAGGED:
            compare_entries(own.pop(), own[-1], line)
        if "columns" in line:
            compare_columns(document, record_type, own, line)
        else:
            compare_data(document, record_type, own, line, other)
        compared.add(record_type)
        for value, (letter, _, index) in list(zip(values, fields))[count:]:
            if index:
                key = value + b"\0" if letter == "S" else struct.pack(NUMBERS[letter], value)
                assert (number, 128, key) in data_file.index(index), (number, index)
    assert next(lines, None) is None
    return compared


def main(tool, tables, document, examples, scratch):
    page = pathlib.Path(document).read_text()
    printed = subprocess.run([tables], check=True, capture_output=True, text=True).stdout
    for table in re.findall("```.*?```\n", printed, re.S):
        assert table in page, f"the tables of {document} are not those that {tables} prints"
    description = Document(page)
    path = pathlib.Path(scratch) / "document.dat"
    survey = pathlib.Path(examples) / "all-sections.tvo"
    for kind, options, types in (
            ("compatible", ["--compatible"], set(description.sort_codes) - {90, TIME_TAGGED}),
            ("complete", [], set(description.lists) - {90})):
        path.unlink(missing_ok=True)
        subprocess.run([tool, "import", *options, survey, "-o", path], check=True,
                       capture_output=True)
        dumps = [subprocess.run([tool, "dump", "--all", "--units", units, path], capture_output=True,
                                text=True).stdout.splitlines()[1:] for units in ("file", "si")]
        data_file = DataFile(path.read_bytes())
        assert data_file.kind == kind
        compared = compare(description, data_file, zip(*(map(json.loads, dump) for dump in dumps)))
        assert types <= compared, f"no record of the types {types - compared} was compared"
        print(f"{kind}: {len(dumps[0])} records of {len(compared)} types agree")


if __name__ == "__main__":
    main(*sys.argv[1:])
