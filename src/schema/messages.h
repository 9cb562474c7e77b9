// The findings that an analysis can log: their numbers, kinds, the log's words and what they mean.
#pragma once

#include <cstdint>
#include <span>

namespace tavo::schema {

enum class MessageKind : uint8_t { kNote, kWarning, kError };

struct Message {
  int number;
  MessageKind kind;
  const char* text;         // the log's words, "" for the note, whose text is its own
  const char* explanation;  // for a person who has the file in front of him
};

// Every message, errors first, by number.
std::span<const Message> messages();

// The row of a number, or null.
const Message* findMessage(int number);

}  // namespace tavo::schema
