// The item-line parser.
#include "reader/items.h"

#include <algorithm>

#include "reader/values.h"
#include "schema/fields.h"

namespace tavo::reader {

Step parseItemLine(Run& run, const schema::FieldDef* table, schema::FieldDef* field,
                   uint8_t (&value)[kItemValueSize]) {
  const std::string_view text = schema::skipBlanks(run.line);
  const std::string_view word = schema::firstWord(text);
  if (schema::FindField(table, word, field) != schema::kFound) {
    run.reportWarning(kUnknownElement, word);
    return Step::kPassOver;
  }
  if (field->type == schema::DataType::kDefault || field->type == schema::DataType::kFree) {
    return Step::kPassOver;
  }
  // The value starts one character behind the word.
  FieldCursor cursor(text.substr(std::min(word.size() + 1, text.size())));
  const Step step = stepOf(parseField(run, cursor, field->type, field->width, field->unit, value));
  if (step != Step::kGoOn) return step;
  cursor.skipBlanks();
  if (cursor.atEnd() || *cursor.at == run.settings.terminator) return Step::kGoOn;
  return run.reportError(kSyntaxError, run.line);
}

}  // namespace tavo::reader
