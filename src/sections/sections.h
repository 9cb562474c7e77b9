// Section readers: each reads one block, from its keyword line to its END, checks it and delivers
// its records. A reader's result is an internal status: kGoOn behind its END, kStop, kEndOfInput,
// kAborted, kOutOfMemory, kEndedByKeyword when the current line is for the enclosing reader, or an
// error number.
#pragma once

#include "reader/run.h"
#include "schema/catalogue.h"

namespace tavo::sections {

// Reads the whole input, section by section.
int readSections(reader::Run& run);

// Reads the block whose keyword line is the current line.
int readBlock(reader::Run& run, const schema::BlockDef& block);

// The readers by kind of block.
int readContainer(reader::Run& run, const schema::BlockDef& block);
int readItems(reader::Run& run, const schema::BlockDef& block);
int readData(reader::Run& run, const schema::BlockDef& block);
int readCollected(reader::Run& run, const schema::BlockDef& block);
int readTimeTaggedCodes(reader::Run& run, const schema::BlockDef& block);
int readOperations(reader::Run& run, const schema::BlockDef& block);

}  // namespace tavo::sections
