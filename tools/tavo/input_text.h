// A text to read: a file, or a stream that is kept in memory, since it is read more than once.
// Knows what is odd about it in words that help more than the findings that come of it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tavo/survey.h"

namespace tavo::tool {

class InputText {
 public:
  // Why it cannot be read as a text, or an empty text when it can. head: what was read of the
  // standard input already; name: what messages call it instead of its path.
  std::string open(const std::string& path, std::string head = {}, const std::string& name = {});

  // For messages and logs: the path, or what stands for a stream.
  const std::string& name() const { return name_; }
  // Bytes of it.
  uint64_t size() const { return size_; }
  // The text for an analysis; valid while this object is.
  tavo_input input() const;

  // What the file is instead of a plain text, one sentence each.
  std::vector<std::string> oddities() const;
  // The sentence that there is no line of data, where that is so.
  std::optional<std::string> emptiness() const;
  // SHA-256 of its bytes, or an empty text when they cannot be read any more.
  std::string hash() const;
  // The same of any file.
  static std::string hashOf(const std::string& path);

 private:
  std::string readStream();
  std::string contentProblem() const;
  // Hands the text over in blocks, until one is refused; false when reading fails.
  template <class Function>
  bool eachBlock(Function function) const;

  std::string name_;
  std::string path_;    // empty when the text is in memory
  std::string memory_;  // the text, or the beginning of the file
  uint64_t size_ = 0;
};

}  // namespace tavo::tool
