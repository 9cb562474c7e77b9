// Where in its file the value of a record stands: line, column and length, which records do not
// know. All that is asked for is looked up in one reading of the text.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "input_text.h"
#include "tavo/survey.h"

namespace tavo::tool {

// What is looked up: the n-th value of the data line that begins on a line, an item of a block
// whose items begin there, or the line itself.
struct Wanted {
  uint64_t line;  // of the record; 0: nothing is looked up
  size_t value = SIZE_MAX;
  const char* item = nullptr;
};

// What is found; with column 0 nothing.
struct SourcePlace {
  uint64_t line = 0;
  uint32_t column = 0;  // bytes, from 1
  uint32_t length = 0;  // bytes
  std::string text;     // of the place
  std::string source;   // the whole line
};

// One place for each wanted one. The survey is the text's, whose HEADERs set the delimiters. Throws
// Interruption.
std::vector<SourcePlace> findPlaces(const InputText& text, const tavo_survey* survey,
                                    const std::vector<Wanted>& wanted);

}  // namespace tavo::tool
