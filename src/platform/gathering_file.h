// A file that gathers its transfers in memory: pages come and go in larger pieces, and room for
// them is allocated ahead. Nobody but its opener may see the file meanwhile.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/file.h"

namespace tavo::platform {

// A file of the system, with what gathering asks of it besides.
class NativeFile : public File {
 public:
  virtual bool size(std::uint64_t& bytes) = 0;
  // Makes the file longer, by zeros that the medium has room for. When it has not, the file may
  // have any length in between.
  virtual bool extend(std::uint64_t from, std::uint64_t to) = 0;
  virtual bool truncate(std::uint64_t size) = 0;
};

// Takes the file over; it begins to gather when it is told to. Null when memory is short.
std::unique_ptr<File> makeGatheringFile(std::unique_ptr<NativeFile> file, Access access);

}  // namespace tavo::platform
