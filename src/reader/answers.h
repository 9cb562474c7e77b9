// The answers of readers: what is to be done next, and how a field was read. Two types, so that
// none is taken for the other, or for the number of an error.
#pragma once

namespace tavo::reader {

// What a reader does next. Each line, block and section is left with one of these.
enum class [[nodiscard]] Step{
    kGoOn,
    kPassOver,        // something was reported and gives nothing; the run goes on behind it
    kEndOfInput,      // nothing more can be read
    kEndedByKeyword,  // the block is over, and the current line waits for the enclosing reader
    kStop,            // the error limit is reached
    kAborted,         // the sink asked to stop
    kOutOfMemory,
};

// The answers that end every reader at once.
constexpr bool endsRun(Step step) {
  return step == Step::kStop || step == Step::kAborted || step == Step::kOutOfMemory;
}

// How a field was read.
enum class [[nodiscard]] FieldResult{
    kValue,
    kEmpty,      // nothing stands in it; the value is zero or empty
    kBad,        // reported
    kLimit,      // the error limit is reached, so the report is not made
    kNotQuoted,  // no quote begins it, so it is not read; nothing is reported
    kNoFormat,   // nothing says how to read it; nothing is reported
};

// What the reading of a field that its line cannot do without leads to.
constexpr Step stepOf(FieldResult field) {
  return field == FieldResult::kValue   ? Step::kGoOn
         : field == FieldResult::kLimit ? Step::kStop
                                        : Step::kPassOver;
}

}  // namespace tavo::reader
