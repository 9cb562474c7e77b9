// Statuses in words, and the version.
#include <algorithm>
#include <iterator>

#include "tavo/survey.h"
#include "tavo/tavo.h"

namespace {

struct StatusText {
  tavo_status status;
  const char* text;
};

constexpr StatusText kTexts[] = {
    {TAVO_OK, "success"},
    {TVO_ERR_NOT_STORABLE, "records of this type are not stored or searched"},
    {TVO_ERR_STORE, "the data file could not position on the record or change it"},
    {TVO_ERR_RECORD_TYPE, "the record type is unknown or cannot be converted"},
    {TVO_ERR_LOOKUP, "this lookup is not offered for the record type"},
    {TVO_ERR_NO_DATA_FILE, "the data file to build from could not be opened"},
    {TVO_ERR_DATA_FILE, "the data file could not be opened or created"},
    {TVO_ERR_DATA_FILE_OPEN, "a data file is open already"},
    {TVO_ERR_ERRORS_FOUND, "the text was read to its end and has errors"},
    {TVO_ERR_NO_RECORD, "a record could not be read, or begins no section"},
    {TVO_ERR_DUPLICATE, "the record is stored already"},
    {TVO_ERR_NOT_FOUND, "there is no such record"},
    {TVO_ERR_OPEN, "a file could not be opened or created"},
    {TVO_ERR_WRITE, "writing or closing a file failed"},
    {TVO_ERR_ABORTED, "the callback asked to stop"},
    {TAVO_ERR_MEMORY, "out of memory"},
    {TAVO_ERR_ARGUMENT, "an argument is null, out of range or of an unknown version"},
    {TAVO_ERR_INPUT, "reading the input failed before its end"},
    {TAVO_ERR_CANCELLED, "cancelled"},
};

#define TAVO_TEXT_OF(number) #number
#define TAVO_TEXT(number) TAVO_TEXT_OF(number)

}  // namespace

extern "C" {

const char* tavo_status_text(tavo_status status) {
  const auto* const found = std::ranges::find(kTexts, status, &StatusText::status);
  return found == std::end(kTexts) ? "unknown status" : found->text;
}

const char* tavo_version(void) {
  return TAVO_TEXT(TAVO_VERSION_MAJOR) "." TAVO_TEXT(TAVO_VERSION_MINOR) "." TAVO_TEXT(
      TAVO_VERSION_PATCH);
}

}  // extern "C"
