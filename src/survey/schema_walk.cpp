// The format's own tables in their public form. It is derived from them once, at first use, so the
// layer keeps no list of its own.
#include <algorithm>
#include <string_view>
#include <vector>

#include "schema/catalogue.h"
#include "schema/enums.h"
#include "schema/messages.h"
#include "tavo/survey.h"

namespace {

namespace schema = tavo::schema;
using schema::BlockDef;
using schema::FieldDef;

// The public numbers are those of the tables.
static_assert(TAVO_TYPE_FREE == static_cast<int>(schema::DataType::kFree));
static_assert(TAVO_UNIT_GEOGRAPHIC == static_cast<int>(schema::UnitKind::kGeographic));
static_assert(TAVO_BLOCK_OPERATIONS == static_cast<int>(schema::BlockKind::kOperationLines));
static_assert(TAVO_KEY_IDENTIFIER == static_cast<int>(schema::KeyRole::kIdentifier));
static_assert(TAVO_NOTE == static_cast<int>(schema::MessageKind::kNote));
static_assert(TAVO_ERROR == static_cast<int>(schema::MessageKind::kError));

struct Block {
  tavo_schema_block view;
  const BlockDef* row;
  std::vector<tavo_schema_field> fields;
};

// THEMINFO and its like name their owner by one of several columns, which share a member: the
// block's own is the number of the block around it.
bool isAlias(const BlockDef& block, const FieldDef& field) {
  const FieldDef* const table = block.layout.fields;
  const auto sharing = [&field](const FieldDef& other) {
    return other.offset == field.offset && other.id != field.id;
  };
  if (field.offset == schema::kNotKept || !std::ranges::any_of(schema::rows(table), sharing)) {
    return false;
  }
  const BlockDef* const parent = schema::findBlock(schema::parentOf(block.parent), block.parent);
  const FieldDef* const key =
      parent == nullptr || parent->layout.keys.number == schema::kNotKept
          ? nullptr
          : schema::findOffset(parent->layout.fields, parent->layout.keys.number);
  const FieldId own = key == nullptr || schema::findId(table, key->id) == nullptr
                          ? schema::findOffset(table, field.offset)->id
                          : key->id;
  return field.id != own;
}

tavo_schema_field fieldView(const BlockDef& block, const FieldDef& field) {
  const bool kept = field.offset != schema::kNotKept;
  const bool hidden = *field.name == '\0';
  const bool converted = field.unit != schema::UnitKind::kNone;
  return {
      field.id,
      hidden ? field.member : field.name,
      static_cast<uint32_t>(field.type),
      field.width,
      kept ? uint32_t{field.offset} : UINT32_MAX,
      static_cast<uint32_t>(schema::storedSize(field.type, field.width)),
      static_cast<uint32_t>(converted ? field.unit : field.fileUnit),
      converted,
      static_cast<uint32_t>(field.group),
      hidden,
      isAlias(block, field),
      static_cast<uint32_t>(field.role),
      field.refers,
  };
}

Block blockView(const BlockDef& row) {
  Block block{{}, &row, {}};
  if (row.layout.fields != nullptr) {
    for (const FieldDef& field : schema::rows(row.layout.fields)) {
      block.fields.push_back(fieldView(row, field));
    }
  }
  const bool top = row.parent == schema::kUnknownSection;
  block.view = {
      schema::KeywordTable[row.keyword].name,
      top ? "" : schema::KeywordTable[row.parent].name,
      static_cast<uint32_t>(row.kind),
      row.columns,
      row.data,
      row.layout.size,
      block.fields.size(),
  };
  return block;
}

// In the order of schema::blocks().
const std::vector<Block>& blocks() {
  static const std::vector<Block> all = [] {
    std::vector<Block> made;
    for (const BlockDef& row : schema::blocks()) made.push_back(blockView(row));
    return made;
  }();
  return all;
}

// The block that a caller's pointer leads to, or null when it is none of ours.
const Block* blockOf(const tavo_schema_block* view) {
  static_assert(offsetof(Block, view) == 0);
  const std::vector<Block>& all = blocks();
  const auto offset = reinterpret_cast<uintptr_t>(view) - reinterpret_cast<uintptr_t>(all.data());
  const bool ours = offset < all.size() * sizeof(Block) && offset % sizeof(Block) == 0;
  return ours ? &all[offset / sizeof(Block)] : nullptr;
}

// Tables of entries {number, name} that an end mark closes, those that `wanted` takes.
template <class Entry, class Wanted>
std::vector<tavo_schema_value> valuesOf(const Entry* entry, Wanted wanted) {
  std::vector<tavo_schema_value> made;
  for (; entry->id != schema::kEndMark; ++entry) {
    if (wanted(entry->id)) made.push_back({entry->id, entry->name});
  }
  return made;
}

const std::vector<tavo_schema_value>& values() {
  static const auto all = valuesOf(schema::EnumTable, [](EnumId) { return true; });
  return all;
}

const std::vector<std::vector<tavo_schema_value>>& groups() {
  static const auto all = [] {
    constexpr auto kLast = static_cast<uint32_t>(schema::EnumGroup::kSpecialProjection);
    std::vector<std::vector<tavo_schema_value>> made(1);  // 0: any value
    for (uint32_t group = 1; group <= kLast; ++group) {
      made.push_back(valuesOf(schema::EnumTable, [group](EnumId id) {
        return schema::inGroup(static_cast<schema::EnumGroup>(group), id);
      }));
    }
    return made;
  }();
  return all;
}

const std::vector<tavo_schema_operation>& operations() {
  static const auto all = [] {
    std::vector<tavo_schema_operation> made;
    for (const auto& value : valuesOf(schema::OperationTable, [](uint32_t) { return true; })) {
      const schema::Operation& row = *schema::operation(value.id);
      made.push_back({value.id, value.name, row.points, row.hasParameter});
    }
    return made;
  }();
  return all;
}

const std::vector<tavo_schema_message>& messages() {
  static const auto all = [] {
    std::vector<tavo_schema_message> made;
    for (const schema::Message& row : schema::messages()) {
      made.push_back({static_cast<uint32_t>(row.number), static_cast<uint32_t>(row.kind), row.text,
                      row.explanation});
    }
    return made;
  }();
  return all;
}

template <class Row>
const Row* at(const std::vector<Row>& rows, size_t index) {
  return index < rows.size() ? &rows[index] : nullptr;
}

}  // namespace

extern "C" {

const tavo_schema_block* tavo_schema_block_at(size_t index) {
  const Block* const block = at(blocks(), index);
  return block == nullptr ? nullptr : &block->view;
}

const tavo_schema_field* tavo_schema_field_at(const tavo_schema_block* view, size_t index) {
  const Block* const block = blockOf(view);
  return block == nullptr ? nullptr : at(block->fields, index);
}

const tavo_schema_value* tavo_schema_value_at(size_t index) { return at(values(), index); }

const tavo_schema_value* tavo_schema_group_value(uint32_t group, size_t index) {
  return group < groups().size() ? at(groups()[group], index) : nullptr;
}

const tavo_schema_operation* tavo_schema_operation_at(size_t index) {
  return at(operations(), index);
}

const tavo_schema_message* tavo_schema_message_at(size_t index) { return at(messages(), index); }

const tavo_schema_block* tavo_schema_block_of(uint32_t record_type) {
  const schema::RecordDef& record = schema::recordDef(record_type);
  if (record.block == nullptr) return nullptr;
  return &blocks()[static_cast<size_t>(record.block - schema::blocks().data())].view;
}

const tavo_schema_block* tavo_schema_block_named(const char* keyword) {
  if (keyword == nullptr) return nullptr;
  const auto found = std::ranges::find_if(blocks(), [keyword](const Block& block) {
    return std::string_view(block.view.keyword) == keyword;
  });
  return found == blocks().end() ? nullptr : &found->view;
}

const char* tavo_schema_column_name(const tavo_schema_block* view, FieldId id) {
  const Block* const block = blockOf(view);
  if (block == nullptr) return nullptr;
  const FieldDef* const table = schema::definitionTable(block->row->columns);
  const FieldDef* const field = table == nullptr ? nullptr : schema::findId(table, id);
  return field == nullptr || *field->name == '\0' ? nullptr : field->name;
}

const tavo_schema_message* tavo_schema_message_of(uint32_t number) {
  const auto found = std::ranges::find(messages(), number, &tavo_schema_message::number);
  return found == messages().end() ? nullptr : &*found;
}

const char* tavo_schema_value_name(EnumId id) {
  std::string_view name;
  schema::EnumName(id, &name);
  return name.data();  // its table ends every name with a zero
}

uint32_t tavo_schema_record_size(uint32_t record_type) {
  return schema::recordDef(record_type).size;
}

}  // extern "C"
