// Filling of records, and what fits into a text.
#include "rows.h"

#include <algorithm>
#include <string>

#include "texts.h"

namespace tavo::gdal {

namespace {

// Between its quotes, escapes counted, on a line of its own.
constexpr size_t kTextRoom = 126;

bool isQuote(char c) { return c == '"' || c == '\''; }

// Line breaks and the mark that ends a text file end a line. A backslash in front of a quote turns
// quotes around for whoever looks for the end of a line, where that matters.
std::string holdable(std::string_view text) {
  std::string made(text);
  for (size_t i = 0; i < made.size(); ++i) {
    if (made[i] == '\n' || made[i] == '\r' || made[i] == '\x1a') made[i] = ' ';
    const bool turns = made[i] == '\\' && i + 1 < made.size() && isQuote(made[i + 1]);
    if (turns && made.find(';', i) != std::string::npos) made[i] = '/';
  }
  return made;
}

}  // namespace

std::string fitted(std::string_view text, size_t room, Losses& losses) {
  std::string made = holdable(text);
  if (made != text) losses.add(Loss::kCharacter);
  size_t size = 0, written = 0;
  while (size < std::min(room, made.size())) {
    written += isQuote(made[size]) || made[size] == '\\' ? 2 : 1;
    if (written > kTextRoom) break;
    ++size;
  }
  if (size == made.size()) return made;
  losses.add(Loss::kTextCut);
  while (size > 0 && (static_cast<unsigned char>(made[size]) & 0xC0) == 0x80) --size;
  made.resize(size);
  return made;
}

Rows::Rows(uint32_t type)
    : type_(type), block_(tavo_schema_block_of(type)), size_(tavo_schema_record_size(type)) {
  while (const tavo_schema_field* const field = tavo_schema_field_at(block_, fields_.size())) {
    fields_.push_back(field);
  }
}

const tavo_schema_field* Rows::find(TVO_FieldId id, size_t& place) const {
  for (place = 0; place < fields_.size(); ++place) {
    const tavo_schema_field& field = *fields_[place];
    if (field.id == id && field.offset != UINT32_MAX && field.alias == 0) return &field;
  }
  return nullptr;
}

size_t Rows::add() {
  bytes_.resize(bytes_.size() + size_);
  given_.push_back(0);
  return given_.size() - 1;
}

bool Rows::has(size_t row, TVO_FieldId id) const {
  size_t place = 0;
  return find(id, place) != nullptr && (given_[row] >> place & 1) != 0;
}

void Rows::drop(size_t row, TVO_FieldId id) {
  size_t place = 0;
  if (find(id, place) != nullptr) given_[row] &= ~(tavo_given{1} << place);
}

void Rows::put(size_t row, TVO_FieldId id, const void* bytes, size_t size) {
  size_t place = 0;
  const tavo_schema_field* const field = find(id, place);
  if (field == nullptr) return;
  std::memcpy(bytes_.data() + row * size_ + field->offset, bytes,
              std::min<size_t>(size, field->size));
  given_[row] |= tavo_given{1} << place;
}

void Rows::setText(size_t row, TVO_FieldId id, std::string_view text, Losses& losses) {
  size_t place = 0;
  const tavo_schema_field* const field = find(id, place);
  if (field == nullptr) return;
  const std::string kept = fitted(text, field->width - 1, losses);
  put(row, id, kept.c_str(), kept.size() + 1);
}

std::string_view Rows::text(size_t row, TVO_FieldId id) const {
  size_t place = 0;
  const tavo_schema_field* const field = find(id, place);
  if (field == nullptr) return {};
  return viewAt(at(row) + field->offset, field->size);
}

}  // namespace tavo::gdal
