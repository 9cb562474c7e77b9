// The message table.
#include "schema/messages.h"

#include <algorithm>

namespace tavo::schema {

namespace {

constexpr auto kError = MessageKind::kError;
constexpr auto kNote = MessageKind::kNote;
constexpr auto kWarning = MessageKind::kWarning;

constexpr Message kMessages[] = {
    {2000, kError, "exceeds line",
     "The line is longer than 129 characters. It is passed over whole; break it behind a "
     "separator."},
    {2001, kError, "exceeds the datatype",
     "A text has more characters than its field keeps, or a small number is above 255."},
    {2010, kError, "missing format begin",
     "The keyword line of a block of data lines has no \"(\" with the list of its columns. Without "
     "it nothing of the block can be read."},
    {2011, kError, "missing format end",
     "The column list is not closed by \")\" before the next keyword, or has 40 columns and more. "
     "The whole block is passed over."},
    {2012, kError, "missing section end",
     "The block is ended by another keyword or by the end of the file instead of by its own END "
     "line. Its records are kept."},
    {2050, kError, "mixed up option",
     "The word is a keyword of the format, but not one that this field or item takes."},
    {2051, kError, "data format def. mismatch",
     "The line does not give exactly the declared columns up to the terminator, or an operation "
     "has "
     "another number of points than it needs."},
    {2100, kError, "unknown point No/ID",
     "An EXTRAINFO line names a point that is not among the points in front of it."},
    {2101, kError, "unknown line No/ID",
     "An EXTRAINFO line names a line that is not among the lines in front of it."},
    {2102, kError, "unknown operation",
     "The line stands where an operation is due and does not begin with the name of one."},
    {2103, kError, "unknown poly No/ID",
     "An EXTRAINFO line names a polygon that is not among the polygons in front of it."},
    {2104, kError, "section/sub section mismatch",
     "The keyword is known but must not stand in this block. Everything up to the next keyword is "
     "passed over."},
    {2105, kError, "unknown section end", "END is followed by a word that is no keyword."},
    {2150, kError, "unexpected end",
     "END names another block than the one that is open, or no block is open."},
    {2500, kError, "syntax error",
     "A value, item or line is not written as its type asks: a number with other characters, a "
     "text "
     "without its quotes, an empty field where a value is due, text behind a value."},
    {7000, MessageKind::kNote, "",
     "Says which lines were passed over because of the finding above."},
    {7001, kNote, "does not fit its field and is read as another number",
     "A whole number is larger than its field holds, so that only its low bits are kept. The log "
     "says nothing of it."},
    {7002, kNote, "has more digits than are kept",
     "A real number is written with more digits than its field keeps. The log says nothing of it."},
    {7010, kWarning, "unknown data element",
     "The item word is none of this block's items. The line is passed over."},
    {7011, kWarning, "unknown section/sub section",
     "The word is no keyword of the format. Everything up to the next keyword is passed over."},
    {7012, kWarning, "unknown format keyword",
     "The column name is none of this block's. Its values are read and dropped."},
    {7013, kWarning, "unknown operation",
     "Reserved: an operation without a name is reported as an error."},
    {7014, kWarning, "unknown option",
     "The word is no enumeration keyword of the format. The value is taken as UNKNOWN."},
};

}  // namespace

std::span<const Message> messages() { return kMessages; }

const Message* findMessage(int number) {
  const Message* const found = std::ranges::find(kMessages, number, &Message::number);
  return found == std::end(kMessages) ? nullptr : found;
}

}  // namespace tavo::schema
