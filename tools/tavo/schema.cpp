// tavo schema: the format's own tables, for people and as JSON.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "console.h"
#include "json.h"
#include "record_json.h"
#include "text.h"
#include "verbs.h"

namespace tavo::tool {

namespace {

constexpr const char* kKinds[] = {"container", "items",       "data",      "collected",
                                  "extrainfo", "time tagged", "operations"};
constexpr const char* kTypes[] = {"character",   "8-bit",   "16-bit",   "signed 16-bit", "32-bit",
                                  "real 32",     "real 64", "bits",     "date-time",     "text",
                                  "any default", "word",    "any value"};
constexpr const char* kUnits[] = {"", "angular", "linear", "geographic"};

std::vector<const tavo_schema_block*> allBlocks() {
  std::vector<const tavo_schema_block*> all;
  const tavo_schema_block* block = nullptr;
  for (size_t i = 0; (block = tavo_schema_block_at(i)) != nullptr; ++i) all.push_back(block);
  return all;
}

// Blocks of a keyword or of the end of a path: THEMINFO, POINTS/THEMINFO.
std::vector<const tavo_schema_block*> named(const std::string& name) {
  std::vector<const tavo_schema_block*> found = allBlocks();
  std::erase_if(found, [&](const tavo_schema_block* block) {
    return !("/" + blockPath(block)).ends_with("/" + name);
  });
  return found;
}

// Keywords of the blocks that define what a field refers to, "POINTS PointNo".
std::string targetOf(FieldId key) {
  std::string target;
  for (const tavo_schema_block* block : allBlocks()) {
    const tavo_schema_field* field = nullptr;
    for (size_t i = 0; (field = tavo_schema_field_at(block, i)) != nullptr; ++i) {
      if (field->key == TAVO_KEY_NONE || field->refers != 0 || field->id != key) continue;
      if (!target.empty()) return std::string(block->parent) + " " + field->name;
      target = std::string(block->keyword) + " " + field->name;
    }
  }
  return target;
}

std::string typeOf(const tavo_schema_field& field) {
  std::string type = kTypes[field.type];
  if (field.type == TAVO_TYPE_TEXT) type += " of " + std::to_string(field.width - 1);
  if (field.type == TAVO_TYPE_BITS) type = std::to_string(field.width) + " bits";
  return type;
}

std::vector<std::string> wordsOf(const tavo_schema_field& field) {
  std::vector<std::string> words;
  const tavo_schema_value* value = nullptr;
  if (field.type != TAVO_TYPE_ENUM || field.group == 0) return words;
  for (size_t i = 0; (value = tavo_schema_group_value(field.group, i)) != nullptr; ++i) {
    words.emplace_back(value->name);
  }
  return words;
}

bool isShown(const tavo_schema_field& field) { return field.hidden == 0 && field.alias == 0; }

Json fieldJson(const tavo_schema_field& field) {
  Json json{{"name", field.name}, {"id", field.id}, {"type", kTypes[field.type]}};
  if (field.type == TAVO_TYPE_TEXT) json["characters"] = field.width - 1;
  if (field.type == TAVO_TYPE_BITS) json["bits"] = field.width;
  if (field.unit != TAVO_UNIT_NONE) json["unit"] = kUnits[field.unit];
  if (field.unit != TAVO_UNIT_NONE) json["converted"] = field.converted != 0;
  if (field.key != TAVO_KEY_NONE) {
    json["key"] = field.key == TAVO_KEY_PART ? "part" : "identifier";
  }
  if (field.refers != 0) json["refersTo"] = targetOf(field.refers);
  if (std::vector<std::string> words = wordsOf(field); !words.empty()) json["words"] = words;
  return json;
}

Json blockJson(const tavo_schema_block& block) {
  Json json{{"block", blockPath(&block)}, {"keyword", block.keyword}, {"kind", kKinds[block.kind]}};
  if (block.columns_type != 0) {
    json["columnsType"] = block.columns_type;
    json["dataType"] = block.data_type;
    json["recordSize"] = block.record_size;
  }
  Json fields = Json::array();
  const tavo_schema_field* field = nullptr;
  for (size_t i = 0; (field = tavo_schema_field_at(&block, i)) != nullptr; ++i) {
    if (isShown(*field)) fields.push_back(fieldJson(*field));
  }
  json["fields"] = std::move(fields);
  return json;
}

// What a column is for, beside its type.
std::string remarkOf(const tavo_schema_field& field) {
  std::vector<std::string> remarks;
  if (field.key == TAVO_KEY_PART) remarks.emplace_back("key");
  if (field.key == TAVO_KEY_IDENTIFIER) remarks.emplace_back("identifier");
  if (field.refers != 0) remarks.push_back("-> " + targetOf(field.refers));
  if (field.unit != TAVO_UNIT_NONE) {
    remarks.push_back(std::string(kUnits[field.unit]) +
                      (field.converted != 0 ? "" : " as written"));
  }
  std::string words;
  for (const std::string& word : wordsOf(field)) words += (words.empty() ? "" : " ") + word;
  if (!words.empty()) remarks.push_back(words);
  std::string line;
  for (const std::string& remark : remarks) line += (line.empty() ? "" : ", ") + remark;
  return line;
}

void printBlock(const tavo_schema_block& block) {
  std::printf("%s: %s", blockPath(&block).c_str(), kKinds[block.kind]);
  if (block.columns_type != 0) {
    std::printf(", record types %u (columns) and %u", block.columns_type, block.data_type);
  }
  std::printf("\n");
  const tavo_schema_field* field = nullptr;
  for (size_t i = 0; (field = tavo_schema_field_at(&block, i)) != nullptr; ++i) {
    if (!isShown(*field)) continue;
    constexpr size_t kRemarks = 37;
    const std::string remarks = wrapped(remarkOf(*field), kRemarks);
    std::printf("  %-16s %-17s", field->name, typeOf(*field).c_str());
    std::printf(" %s", remarks.empty() ? "\n" : remarks.c_str() + kRemarks);
  }
}

// All blocks as a tree.
void printTree() {
  std::printf("%-34s %-12s %-9s %s\n", "block", "kind", "types", "fields");
  for (const tavo_schema_block* block : allBlocks()) {
    const std::string path = blockPath(block);
    const auto depth = static_cast<size_t>(std::ranges::count(path, '/'));
    const std::string types =
        block->columns_type == 0
            ? ""
            : std::to_string(block->columns_type) + ", " + std::to_string(block->data_type);
    const std::string fields = block->field_count == 0 ? "" : std::to_string(block->field_count);
    std::string line(2 * depth, ' ');
    line += block->keyword;
    line.resize(std::max<size_t>(line.size(), 34), ' ');
    std::printf("%s %-12s %-9s %s\n", line.c_str(), kKinds[block->kind], types.c_str(),
                fields.c_str());
  }
}

}  // namespace

int schema(const SchemaOptions& options) {
  const auto blocks = options.block.empty() ? allBlocks() : named(options.block);
  if (blocks.empty()) {
    complain("'" + options.block + "' is no block of the format; see 'tavo schema'");
    return kFailed;
  }
  if (options.form == Form::kJson) {
    Json json = jsonOf("tavo-schema/1");
    json["blocks"] = Json::array();
    for (const tavo_schema_block* block : blocks) json["blocks"].push_back(blockJson(*block));
    printLine(json);
  } else if (options.block.empty()) {
    printTree();
  } else {
    for (const tavo_schema_block* block : blocks) {
      if (block != blocks.front()) std::printf("\n");
      printBlock(*block);
    }
  }
  return flushOutput() ? kSound : kFailed;
}

}  // namespace tavo::tool
