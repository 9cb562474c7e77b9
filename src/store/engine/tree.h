// The tree of entries: search, insertion with splits, removal and moves along the leaves.
#pragma once

#include <cstdint>

#include "store/engine/control_block.h"
#include "store/engine/page_cache.h"
#include "store/engine/result.h"

namespace tavo::engine {

// What is sought. At an edge every entry of the index counts as behind (first) or before (last) it.
enum class Edge : std::uint8_t { kNone, kFirst, kLast };

struct Probe {
  int index = 0;
  const std::uint8_t* key = nullptr;
  std::uint32_t keyLength = 0;
  std::int32_t record = 0;
  int piece = 0;
  Edge edge = Edge::kNone;
};

// A place in a leaf. The work page stays what it is while fewer other pages are asked for than
// there are work pages.
struct Place {
  WorkPage* page = nullptr;
  int position = 0;
  bool exact = false;

  const std::uint8_t* entry() const { return page->at(position); }
};

// Order of an entry against what is sought: below, equal or above 0.
int compareEntry(const ControlBlock& file, const std::uint8_t* e, bool leaf, const Probe& probe);

// The first entry not before what is sought; its position may be just past the last entry of a
// leaf.
int seek(ControlBlock& file, const Probe& probe, Place& place);
// From a position just past a leaf's end to the first entry behind it; kNotFound at the end of the
// chain. `hops` counts pages moved right less pages moved left and bounds the walk.
int settleForward(ControlBlock& file, Place& place, std::int64_t& hops);
// To the entry before.
int stepBack(ControlBlock& file, Place& place, std::int64_t& hops);

// What changes entries runs inside a Change, which takes it back when it fails halfway.

// Inserts an entry with `size` bytes of data; kNotFound when it is there already.
int insertEntry(ControlBlock& file, const Probe& probe, bool lastPiece, const std::uint8_t* data,
                std::uint32_t size);
// Removes the entry at a place that seek() found.
int removeEntry(ControlBlock& file, const Place& place);

// Makes sure that so many zeroed pages are in reserve; kNoRoom when the file cannot be extended.
int reservePages(ControlBlock& file, std::uint32_t pages);
// Levels of the tree.
int treeHeight(ControlBlock& file, std::uint32_t& height);

// kUnreadable means "not found" to a search and "corrupt" to a change.
inline int searchCode(int code) { return code == kUnreadable ? kNotFound : code; }
inline int changeCode(int code) { return code == kUnreadable ? kCorrupt : code; }

}  // namespace tavo::engine
