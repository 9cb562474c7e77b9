// Prints include/tavo/survey_records.hpp, the typed records of the C++ interface, from the format's
// own tables, so that nobody writes that list by hand.
#include <cctype>
#include <cstdio>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tavo/survey.h"

namespace {

struct View {
  const tavo_schema_block* block;
  std::string name;      // "PointAnnotation"
  std::string accessor;  // "pointAnnotations"
};

std::string camel(std::string_view keyword) {
  std::string name;
  bool upper = true;
  for (const char c : keyword) {
    if (c == '_') {
      upper = true;
      continue;
    }
    name += static_cast<char>(upper ? c : std::tolower(static_cast<unsigned char>(c)));
    upper = false;
  }
  return name;
}

// One of many: POINTS, PROPERTIES; a block of items is one already.
std::string singular(const tavo_schema_block& block) {
  std::string name = camel(block.keyword);
  if (block.kind == TAVO_BLOCK_ITEMS || !name.ends_with('s')) return name;
  if (name.ends_with("ies")) return name.replace(name.size() - 3, 3, "y");
  name.pop_back();
  return name;
}

// Blocks that deliver records laid out by a field table, each type once. A keyword that stands in
// several blocks takes the name of the block around it in front.
std::vector<View> views() {
  std::set<uint32_t> types;
  std::vector<View> made;
  const tavo_schema_block* block = nullptr;
  for (size_t i = 0; (block = tavo_schema_block_at(i)) != nullptr; ++i) {
    if (block->field_count == 0 || block->data_type == 0) continue;
    if (!types.insert(block->data_type).second) continue;
    size_t shared = 0;
    const tavo_schema_block* other = nullptr;
    for (size_t j = 0; (other = tavo_schema_block_at(j)) != nullptr; ++j) {
      const bool same = std::string_view(other->keyword) == block->keyword;
      if (same && other->data_type != block->data_type) ++shared;
    }
    std::string prefix;
    if (shared > 0) prefix = singular(*tavo_schema_block_named(block->parent));
    View view{block, prefix + singular(*block), prefix + camel(block->keyword)};
    // A class must not have a member of its own name.
    const tavo_schema_field* field = nullptr;
    for (size_t j = 0; (field = tavo_schema_field_at(block, j)) != nullptr; ++j) {
      if (view.name == field->name) view.name += "Entry";
    }
    view.accessor[0] =
        static_cast<char>(std::tolower(static_cast<unsigned char>(view.accessor[0])));
    made.push_back(std::move(view));
  }
  return made;
}

void printNumber(const tavo_schema_field& field, size_t place, const char* type) {
  if (field.hidden != 0) {
    std::printf("  %s %s() const { return member<%s>(%u); }\n", type, field.name, type,
                field.offset);
  } else {
    std::printf("  std::optional<%s> %s() const { return number<%s>(%zu, %u); }\n", type,
                field.name, type, place, field.offset);
  }
}

void printField(const tavo_schema_field& field, size_t place) {
  switch (field.type) {
    case TAVO_TYPE_CHAR:
      return printNumber(field, place, "char");
    case TAVO_TYPE_UINT8:
      return printNumber(field, place, "uint8_t");
    case TAVO_TYPE_UINT16:
      return printNumber(field, place, "uint16_t");
    case TAVO_TYPE_INT16:
      return printNumber(field, place, "int16_t");
    case TAVO_TYPE_UINT32:
      return printNumber(field, place, "uint32_t");
    case TAVO_TYPE_FLOAT:
      return printNumber(field, place, "float");
    case TAVO_TYPE_DOUBLE:
      return printNumber(field, place, "double");
    case TAVO_TYPE_BITS:
      return printNumber(field, place, field.width == 8 ? "uint8_t" : "uint16_t");
    case TAVO_TYPE_ENUM:
      return printNumber(field, place, "TVO_EnumId");
    case TAVO_TYPE_DATE_TIME:
      std::printf("  std::optional<Time> %s() const { return time(%u); }\n", field.name,
                  field.offset);
      return;
    case TAVO_TYPE_TEXT:
      std::printf("  std::optional<std::string_view> %s() const { return text(%zu, %u, %u); }\n",
                  field.name, place, field.offset, field.width);
      return;
    default:
      std::printf("  std::optional<AnyValue> %s() const { return value<%s>(%zu, %u); }\n",
                  field.name,
                  field.type == TAVO_TYPE_DEFAULT ? "TVO_DefaultValue" : "TVO_FreeValue", place,
                  field.offset);
  }
}

}  // namespace

int main() {
  std::puts(
      "// Typed records of survey.hpp, one class for each record type with a field table: a value "
      "is\n"
      "// there when its line gave it. Made from the format's tables by cmake/record_views.cpp; "
      "not to\n"
      "// be edited.\n"
      "#pragma once\n\n"
      "// clang-format off\n\n"
      "namespace tavo {\n");
  const std::vector<View> all = views();
  for (const View& view : all) {
    std::printf("// %s%s%s.\nclass %s : public Record {\n public:\n", view.block->keyword,
                *view.block->parent == '\0' ? "" : " in ", view.block->parent, view.name.c_str());
    std::printf("  static constexpr uint32_t kType = %u;\n  using Record::Record;\n",
                view.block->data_type);
    const tavo_schema_field* field = nullptr;
    for (size_t i = 0; (field = tavo_schema_field_at(view.block, i)) != nullptr; ++i) {
      if (field->offset != UINT32_MAX) printField(*field, i);
    }
    std::puts("};\n");
  }
  std::puts(
      "// The arrays of a survey by name.\n"
      "template <class Survey, template <class> class Range>\n"
      "class SurveyRecords {\n public:");
  for (const View& view : all) {
    std::printf("  Range<%s> %s() const { return of<%s>(); }\n", view.name.c_str(),
                view.accessor.c_str(), view.name.c_str());
  }
  std::puts(
      "\n private:\n"
      "  template <class R>\n"
      "  Range<R> of() const {\n"
      "    return static_cast<const Survey*>(this)->template records<R>();\n"
      "  }\n"
      "};\n\n"
      "}  // namespace tavo");
  return 0;
}
