// The build driver: hands the records, section by section, to the writer of the section that the
// current record opens.
#include "writers/build.h"

#include <memory>
#include <new>

#include "schema/catalogue.h"
#include "writers/writer.h"

namespace tavo::writers {

namespace {

class CallbackSource final : public RecordSource {
 public:
  explicit CallbackSource(TVO_RecordSource callback) : callback_(callback) {}
  uint16_t fetch(uint32_t mode, uint32_t* recordType, void** record) override {
    return TVO_CODE(callback_(mode, recordType, record));
  }

 private:
  TVO_RecordSource callback_;
};

// The section whose writer takes a record of this type as its first: any columns record.
uint32_t sectionOf(RecordType type) {
  const schema::BlockDef* block = schema::blockOfColumns(type);
  if (block == nullptr) return schema::kUnknownSection;
  uint32_t section = block->keyword;
  for (uint32_t up = block->parent; up != schema::kUnknownSection; up = schema::parentOf(up)) {
    section = up;
  }
  return section;
}

uint16_t writeSectionOf(Writer& writer, uint32_t section) {
  switch (section) {
    case schema::kHeader:
      return writeHeader(writer);
    case schema::kTimeTaggedCodes:
      return writeTimeTaggedCodes(writer);
    case schema::kOperations:
      return writeOperations(writer);
    default:
      return writeSection(writer, static_cast<schema::KeywordId>(section));
  }
}

}  // namespace

uint16_t writeText(TextSink& sink, RecordSource& source, const BuildSettings& settings) {
  // Kept off the stack of a host's thread.
  const auto output = std::unique_ptr<Output>(new (std::nothrow) Output(sink));
  if (output == nullptr) {
    sink.close();
    return TVO_ERR_WRITE;
  }
  Feed feed(source);
  Writer writer{*output, feed, OutputState{settings}};
  feed.first();
  uint16_t status = feed.status();
  while (status == 0 && !output->failed()) {
    const uint32_t section = sectionOf(feed.type());
    if (section == schema::kUnknownSection) {
      output->close();
      return TVO_ERR_NO_RECORD;
    }
    status = writeSectionOf(writer, section);
    if (status != 0) break;
    writeBlankLine(*output);
    writeBlankLine(*output);
  }
  output->close();
  if (status == TVO_ERR_ABORTED) return TVO_ERR_ABORTED;
  // Every other status, the end of the records above all, is the normal end of a build.
  return output->failed() ? TVO_ERR_WRITE : TVO_OK;
}

uint16_t build(const char* outputPath, RecordSource& source, const BuildSettings& settings) {
  platform::OutputFile file;
  if (outputPath == nullptr || file.open(outputPath) != platform::OpenResult::kDone ||
      !file.start()) {
    return TVO_ERR_OPEN;
  }
  uint16_t status = TVO_ERR_WRITE;
  try {
    status = writeText(file, source, settings);
  } catch (...) {
    // An exception of a host's callback ends the build as a failed write does.
    file.close();
  }
  if (status == TVO_ERR_WRITE || status == TVO_ERR_ABORTED) platform::removeFile(outputPath);
  return status;
}

uint16_t build(const char* outputPath, TVO_RecordSource callback, const BuildSettings& settings) {
  CallbackSource source(callback);
  return build(outputPath, source, settings);
}

}  // namespace tavo::writers
