// Section readers: each reads one block, from its keyword line to its END, checks it and delivers
// its records. It answers kGoOn behind its END, kPassOver when the block was given up after a
// report, kEndedByKeyword when the current line is for the enclosing reader, or what ended the
// input or the run.
#pragma once

#include "reader/run.h"
#include "schema/catalogue.h"

namespace tavo::sections {

using reader::Step;

// Reads the whole input, section by section.
Step readSections(reader::Run& run);

// Reads the block whose keyword line is the current line.
Step readBlock(reader::Run& run, const schema::BlockDef& block);

// The readers by kind of block.
Step readContainer(reader::Run& run, const schema::BlockDef& block);
Step readItems(reader::Run& run, const schema::BlockDef& block);
Step readData(reader::Run& run, const schema::BlockDef& block);
Step readCollected(reader::Run& run, const schema::BlockDef& block);
Step readTimeTaggedCodes(reader::Run& run, const schema::BlockDef& block);
Step readOperations(reader::Run& run, const schema::BlockDef& block);

}  // namespace tavo::sections
