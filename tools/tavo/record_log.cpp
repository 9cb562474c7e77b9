// Packing, writing and walking.
#include "record_log.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "record_json.h"
#include "tavo/tavo.h"

namespace tavo::tool {

namespace {

// Of the file in memory. A quarter of it has room for any record.
constexpr size_t kPiece = size_t{1} << 16;

constexpr size_t kWord = sizeof(uint64_t);
size_t wordsFor(size_t bytes) { return (bytes + kWord - 1) / kWord; }
// A bit for each word of a record that is not zero.
size_t bytesOfMask(size_t words) { return wordsFor((words + 7) / 8) * kWord; }

}  // namespace

bool RecordLog::open(const std::string& path) {
  tavo_output* output = nullptr;
  failed_ = tavo_output_create(&output, path.c_str()) != TAVO_OK;
  output_.reset(output);
  return !failed_;
}

uint32_t RecordLog::append(const tavo_record& record) {
  // The entries of a time-tagged code stand outside the record.
  TimeTaggedRecord codes = {};
  const bool tagged = record.type == TVO_RECORD_TIME_TAGGED_CODES;
  if (tagged) codes = load<TimeTaggedRecord>(static_cast<const char*>(record.bytes));
  const size_t entries = codes.EntryCount * sizeof(TimeTaggedEntry);
  const size_t size = record.size + entries;
  words_.assign(wordsFor(size), 0);
  auto* const bytes = reinterpret_cast<char*>(words_.data());
  std::memcpy(bytes, record.bytes, record.size);
  if (entries > 0) std::memcpy(bytes + record.size, codes.entries, entries);

  const size_t start = piece_.size();
  const size_t mask = start + sizeof(Head);
  piece_.append(sizeof(Head) + bytesOfMask(words_.size()), '\0');
  for (size_t i = 0; i < words_.size(); ++i) {
    if (words_[i] == 0) continue;
    piece_[mask + i / 8] = static_cast<char>(piece_[mask + i / 8] | 1 << i % 8);
    piece_.append(bytes + i * kWord, kWord);
  }
  head_ = {head_.stored, static_cast<uint32_t>(piece_.size() - start), static_cast<uint32_t>(size),
           record.type, record.block};
  std::memcpy(&piece_[start], &head_, sizeof head_);
  end_ += head_.stored;
  place_ = end_;
  return piece_.size() < kPiece - kPiece / 4 || flush() ? TVO_OK : TVO_ERR_ABORTED;
}

bool RecordLog::flush() {
  failed_ = failed_ || tavo_output_write(output_.get(), piece_.data(), piece_.size()) != TAVO_OK;
  piece_.clear();
  return !failed_;
}

const char* RecordLog::at(uint64_t place) {
  constexpr size_t kRecord = kPiece / 4;
  if (!input_.has_value()) {
    if (!flush()) return nullptr;
    input_.emplace(tavo_output_path(output_.get()));
  }
  const uint64_t end = std::min(place + kRecord, end_);
  if (place < pieceAt_ || end > pieceAt_ + piece_.size()) {
    // On the way back the piece ends with the record.
    const bool back = place < pieceAt_;
    pieceAt_ = !back ? place : place - std::min<uint64_t>(place, kPiece - kRecord);
    piece_.resize(static_cast<size_t>(std::min<uint64_t>(kPiece, end_ - pieceAt_)));
    if (!input_->isOpen() || !input_->seek(pieceAt_) ||
        input_->read(piece_.data(), piece_.size()) != static_cast<int64_t>(piece_.size())) {
      return nullptr;
    }
  }
  return piece_.data() + (place - pieceAt_);
}

bool RecordLog::step(uint32_t move) {
  if (move == TVO_FIRST) {
    place_ = 0;
  } else if (move == TVO_NEXT && place_ < end_) {
    place_ += head_.stored;
  } else if (move == TVO_PREVIOUS) {
    const uint32_t back = place_ == end_ ? head_.stored : head_.before;
    if (back == 0) return false;
    place_ -= back;
  }
  return place_ < end_;
}

uint32_t RecordLog::fetch(uint32_t move, tavo_record* record) {
  if (!step(move)) return TVO_ERR_STORE;
  const char* const stored = at(place_);
  if (stored == nullptr) {
    failed_ = true;
    return TVO_ERR_ABORTED;
  }
  unpack(stored);
  *record = {};
  record->type = head_.type;
  record->size = tavo_schema_record_size(head_.type);
  record->bytes = words_.data();
  record->block = head_.block;
  return TVO_OK;
}

void RecordLog::unpack(const char* stored) {
  std::memcpy(&head_, stored, sizeof head_);
  words_.assign(wordsFor(head_.size), 0);
  const char* const mask = stored + sizeof head_;
  const char* word = mask + bytesOfMask(words_.size());
  for (size_t i = 0; i < words_.size(); ++i) {
    if ((mask[i / 8] >> i % 8 & 1) == 0) continue;
    std::memcpy(&words_[i], word, kWord);
    word += kWord;
  }
  if (head_.type != TVO_RECORD_TIME_TAGGED_CODES) return;
  auto* const bytes = reinterpret_cast<char*>(words_.data());
  const char* const entries = bytes + sizeof(TimeTaggedRecord);
  std::memcpy(bytes + offsetof(TimeTaggedRecord, entries), &entries, sizeof entries);
}

}  // namespace tavo::tool
