// Writes a TAVO text from records that a source delivers one at a time. The caller owns the
// settings and whatever stands behind the source; everything else lives in the call.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/text_file.h"
#include "tavo/tavo.h"

namespace tavo::writers {

// May change while a build runs, by its source: what is written next follows.
struct BuildSettings {
  bool alignColumns = true;         // measure every block and align its columns
  TVO_Decimals decimals{4, 4, 10};  // more than 30 decimals count as 30
  uint32_t widthResets = 0;         // how often the measured widths were dropped

  // Off drops the widths in use; on measures from the next block's lines on.
  void setColumns(bool on) {
    alignColumns = on;
    if (!on) ++widthResets;
  }
};

// Delivers records as a TVO_RecordSource does. A record is valid until the next call.
class RecordSource {
 public:
  virtual uint16_t fetch(uint32_t mode, uint32_t* recordType, void** record) = 0;

 protected:
  ~RecordSource() = default;
};

// Takes the text in blocks.
using TextSink = platform::TextOutput;

// Writes the text to a file in the platform's text mode. TVO_OK; TVO_ERR_OPEN when the file cannot
// be opened; TVO_ERR_NO_RECORD at a record that begins no section, with the text so far kept;
// TVO_ERR_WRITE and TVO_ERR_ABORTED (the source's own status), both with the file deleted. Every
// other status of the source ends the records.
uint16_t build(const char* outputPath, RecordSource& source, const BuildSettings& settings);
uint16_t build(const char* outputPath, TVO_RecordSource callback, const BuildSettings& settings);

// The same into a sink, which is closed at the end. Nothing is deleted.
uint16_t writeText(TextSink& sink, RecordSource& source, const BuildSettings& settings);

}  // namespace tavo::writers
