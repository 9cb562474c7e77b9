// DEFINITIONS, DATABASE, METEO and THEODOLITE: one writer that opens and closes blocks as the
// record types require, along the tree of blocks.
#include <algorithm>
#include <array>
#include <cstring>
#include <optional>

#include "schema/catalogue.h"
#include "writers/writer.h"

namespace tavo::writers {

namespace {

using schema::BlockDef;
using schema::BlockKind;
using schema::KeywordId;

using schema::kMaxDepth;

class SectionWriter {
 public:
  SectionWriter(Writer& writer, KeywordId section) : w_(writer) { open_[0].keyword = section; }

  uint16_t write();

 private:
  struct OpenBlock {
    KeywordId keyword = schema::kUnknownSection;
    RecordType data = 0;  // 0: holds no data lines
    ColumnList columns;
  };
  using Path = std::array<uint32_t, kMaxDepth>;

  bool writeNext();
  const BlockDef* place(RecordType columns);
  bool enter(const BlockDef& block);
  void openWrapper(uint32_t keyword);
  void open(KeywordId keyword, RecordType data);
  void closeTo(size_t depth);
  void separate(const BlockDef& block);

  bool writeCodeList();
  void writeItemBlock(const BlockDef& block);
  void writeCodeListItems(const BlockDef& block);
  bool belongsToNextCodeList();
  void writeListedItems(const BlockDef& block);
  void writeDataBlock(const BlockDef& block);
  void writeLines();
  void measureLines();
  void followSettings();

  size_t indent() const { return 2 * depth_; }
  OpenBlock& top() { return open_[depth_ - 1]; }

  Writer& w_;
  std::array<OpenBlock, kMaxDepth> open_;
  size_t depth_ = 1;
  bool written_ = false;             // a block stands in front of the next one at the same level
  bool codeListAwaits_ = false;      // the open CODELIST has no items yet
  std::optional<FieldList> listed_;  // items of the latest columns record of an item block
  ColumnWidths widths_;
  uint32_t widthResets_ = 0;  // those that widths_ has followed
  TVO_Decimals decimals_{};   // those that the columns of the lines have
};

uint16_t SectionWriter::write() {
  writeKeywordLine(w_.output, 0, keywordName(open_[0].keyword));
  while (w_.goesOn() && writeNext()) {
  }
  closeTo(1);
  writeEndLine(w_.output, 0, keywordName(open_[0].keyword));
  return w_.feed.status();
}

// Writes the block that the current record opens, or more lines of an open one; false when the
// record belongs to neither.
bool SectionWriter::writeNext() {
  const RecordType type = w_.feed.type();
  for (size_t depth = depth_; depth > 1; --depth) {
    if (open_[depth - 1].data == type && type != 0) {
      closeTo(depth);
      writeLines();
      return true;
    }
  }
  if (writeCodeList()) return true;
  const BlockDef* block = place(type);
  if (block == nullptr) return false;
  if (block->kind == BlockKind::kItemLines) {
    writeItemBlock(*block);
  } else {
    writeDataBlock(*block);
  }
  return true;
}

// The items of the open code list, or those of a further one whose columns record is missing: a
// store keeps one of that kind, and all code lists have its columns then.
bool SectionWriter::writeCodeList() {
  const RecordType type = w_.feed.type();
  const bool further = type == TVO_RECORD_CODELIST && listed_.has_value();
  if (open_[0].keyword != schema::kDefinitions ||
      (type != TVO_RECORD_CODELIST_COLUMNS && !further)) {
    return false;
  }
  const BlockDef& block = *schema::blockOfColumns(TVO_RECORD_CODELIST_COLUMNS);
  if (depth_ > 1 && open_[1].keyword == schema::kCodeList && codeListAwaits_) {
    closeTo(2);
    writeCodeListItems(block);
    return true;
  }
  if (further) {
    closeTo(1);
    writeItemBlock(block);
  }
  return further;
}

// Closes and opens blocks until the block of the columns record may begin; null when it does not
// belong to this section.
const BlockDef* SectionWriter::place(RecordType columns) {
  const BlockDef* block = schema::writtenBlock(columns);
  if (block == nullptr) return nullptr;
  for (size_t depth = depth_; depth > 0; --depth) {
    const BlockDef* row = schema::findBlock(open_[depth - 1].keyword, block->keyword);
    if (row != nullptr && (row == block || row->columns == columns)) {
      closeTo(depth);
      return row;
    }
  }
  return enter(*block) ? block : nullptr;
}

// Opens the blocks around one that no open block can hold.
bool SectionWriter::enter(const BlockDef& block) {
  Path path{};
  size_t length = 0;
  for (uint32_t keyword = block.parent; keyword != schema::kUnknownSection && length < kMaxDepth;
       keyword = schema::parentOf(keyword)) {
    path[length++] = keyword;
  }
  std::reverse(path.begin(), path.begin() + static_cast<std::ptrdiff_t>(length));
  if (length == 0 || path[0] != open_[0].keyword) return false;
  size_t common = 1;
  while (common < depth_ && common < length && path[common] == open_[common].keyword) ++common;
  closeTo(common);
  for (size_t i = common; i < length; ++i) openWrapper(path[i]);
  return true;
}

// A block that the records do not deliver, but the format asks for around theirs. One that holds
// data lines declares its key column and takes no lines.
void SectionWriter::openWrapper(uint32_t keyword) {
  const BlockDef& block = *schema::findBlock(top().keyword, keyword);
  separate(block);
  if (block.kind == BlockKind::kContainer || block.kind == BlockKind::kItemLines) {
    writeKeywordLine(w_.output, indent(), keywordName(keyword));
  } else {
    FieldList key;
    key.ids[key.count++] = block.layout.fields[0].id;
    writeDefinition(w_.output, w_.state, indent(), keywordName(keyword),
                    plansOf(block.columns, block.data, key, w_.state));
  }
  open(block.keyword, 0);
  codeListAwaits_ = block.keyword == schema::kCodeList;
}

void SectionWriter::open(KeywordId keyword, RecordType data) {
  ++depth_;
  top().keyword = keyword;
  top().data = data;
  written_ = false;
}

void SectionWriter::closeTo(size_t depth) {
  while (depth_ > depth) {
    const KeywordId keyword = top().keyword;
    --depth_;
    writeEndLine(w_.output, indent(), keywordName(keyword));
    written_ = true;
  }
}

void SectionWriter::separate(const BlockDef& block) {
  if (written_ && !block.odd.continues) writeBlankLine(w_.output);
}

void SectionWriter::writeItemBlock(const BlockDef& block) {
  separate(block);
  if (w_.feed.type() == block.columns) {
    writeComments(w_.output, w_.state, indent(), w_.feed.record());
  }
  writeKeywordLine(w_.output, indent(), keywordName(block.keyword));
  open(block.keyword, 0);
  codeListAwaits_ = false;
  writeListedItems(block);
  const bool closes = block.keyword != schema::kCodeList || belongsToNextCodeList();
  if (closes) closeTo(depth_ - 1);
}

// The items of a code list whose codes came first, as a reader delivers them: they end the list.
void SectionWriter::writeCodeListItems(const BlockDef& block) {
  if (w_.feed.type() == block.columns) {
    writeComments(w_.output, w_.state, indent(), w_.feed.record());
  }
  codeListAwaits_ = false;
  writeListedItems(block);
  closeTo(depth_ - 1);
}

// Codes behind the items of a code list are that list's own when the records come from a store,
// which sorts them so. When the items of another one follow them they belong to that one, as a
// reader delivers them.
bool SectionWriter::belongsToNextCodeList() {
  const auto isCode = [](RecordType type) {
    return type == TVO_RECORD_CODES_COLUMNS || type == TVO_RECORD_CODES ||
           type == TVO_RECORD_ATTRIBUTES_COLUMNS || type == TVO_RECORD_ATTRIBUTES;
  };
  if (!w_.feed.ok() || !isCode(w_.feed.type())) return false;
  const RecordType before = w_.feed.previousType();
  uint64_t passed = 0;
  while (w_.feed.ok() && isCode(w_.feed.type())) {
    w_.feed.next();
    ++passed;
  }
  const bool next = w_.feed.at(TVO_RECORD_CODELIST_COLUMNS) || w_.feed.at(TVO_RECORD_CODELIST);
  w_.feed.returnBehind(before, passed);
  return next;
}

// From the columns record on, or from a data record of the same columns as the one before.
void SectionWriter::writeListedItems(const BlockDef& block) {
  if (w_.feed.type() == block.columns) {
    listed_ = fieldsOf(w_.feed.record());
    w_.feed.next();
    if (!w_.feed.at(block.data)) return;
  }
  writeItems(w_, indent(), {block.layout.fields, valueColumn(block), false}, *listed_,
             w_.feed.record());
  w_.feed.next();
}

void SectionWriter::writeDataBlock(const BlockDef& block) {
  // EXTRAINFO has the columns and the records of the block around it.
  const BlockDef& lines = block.kind == BlockKind::kCompletion
                              ? *schema::findBlock(schema::kDatabase, block.parent)
                              : block;
  const ColumnList columns =
      plansOf(lines.columns, lines.data, fieldsOf(w_.feed.record()), w_.state);
  separate(block);
  writeComments(w_.output, w_.state, indent(), w_.feed.record());
  writeDefinition(w_.output, w_.state, indent(), keywordName(block.keyword), columns);
  open(block.keyword, lines.data);
  top().columns = columns;
  w_.feed.next();
  if (w_.feed.at(lines.data)) writeLines();
}

// Writes the data records that follow each other as lines of the innermost open block.
void SectionWriter::writeLines() {
  const RecordType type = top().data;
  decimals_ = w_.state.settings.decimals;
  followDecimals(w_.state, &top().columns);
  if (w_.state.settings.alignColumns) measureLines();
  while (w_.goesOn() && w_.feed.at(type)) {
    followSettings();
    writeDataRecord(w_.output, w_.state, indent(), top().columns, widths_, w_.feed.record());
    w_.feed.next();
  }
}

// Takes the widths of the columns from all records that follow each other and returns to its first
// one.
void SectionWriter::measureLines() {
  const ColumnList& columns = top().columns;
  const RecordType before = w_.feed.previousType();
  const RecordType type = top().data;
  widths_.clear();
  uint64_t passed = 0;
  while (w_.feed.at(type) && w_.state.settings.alignColumns) {
    followSettings();
    widths_.raise(columns, w_.state, w_.feed.record());
    w_.feed.next();
    ++passed;
  }
  w_.feed.returnBehind(before, passed);
}

// The source may have changed the settings. The widths are gone as soon as it has switched the
// alignment off, also when it has switched it on again since.
void SectionWriter::followSettings() {
  const BuildSettings& settings = w_.state.settings;
  if (widthResets_ != settings.widthResets) {
    widthResets_ = settings.widthResets;
    widths_.clear();
  }
  if (memcmp(&decimals_, &settings.decimals, sizeof decimals_) != 0) {
    decimals_ = settings.decimals;
    followDecimals(w_.state, &top().columns);
    widths_.forget();
  }
}

}  // namespace

uint16_t writeSection(Writer& writer, KeywordId section) {
  return SectionWriter(writer, section).write();
}

}  // namespace tavo::writers
