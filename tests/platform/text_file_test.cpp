// Text files of both platforms: line ends, identity, sharing with the store's files, output that
// leaves no trace or takes its place.
#include "platform/text_file.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "platform/file.h"
#include "support/analysis.h"

namespace tavo::platform {
namespace {

namespace fs = std::filesystem;
using tests::readFile;
using tests::writeFile;

#ifdef _WIN32
constexpr char kLineEnd[] = "\r\n";
constexpr bool kNamesHaveCase = false;
#else
constexpr char kLineEnd[] = "\n";
constexpr bool kNamesHaveCase = true;
#endif

class TextFile : public testing::Test {
 protected:
  void SetUp() override {
    fs::remove_all("files");
    fs::create_directories("files/inner");
    fs::current_path("files");
  }
  void TearDown() override { fs::current_path(".."); }

  static std::string readAll(TextInput& input) {
    std::string text(100, '\0');
    text.resize(input.read(text.data(), text.size()));
    EXPECT_FALSE(input.failed());
    return text;
  }
};

TEST_F(TextFile, InputTellsWhyItCannotBeOpened) {
  InputFile file;
  EXPECT_EQ(file.open("missing"), OpenResult::kMissing);
  EXPECT_EQ(file.open("no folder/a"), OpenResult::kMissing);
  EXPECT_EQ(file.open("inner"), OpenResult::kFolder);
  writeFile("a", "one\r\ntwo\x1A");
  ASSERT_EQ(file.open("a"), OpenResult::kDone);
  EXPECT_EQ(readAll(file), "one\r\ntwo\x1A");
  EXPECT_TRUE(file.seek(5));
  EXPECT_EQ(readAll(file), "two\x1A");
  MemoryInput memory("one");
  EXPECT_EQ(readAll(memory) + readAll(memory), "one");
}

TEST_F(TextFile, OutputTouchesNothingBeforeItsStart) {
  writeFile("old", "old");
  for (const char* path : {"old", "new"}) {
    OutputFile file;
    ASSERT_EQ(file.open(path), OpenResult::kDone) << path;
  }
  EXPECT_EQ(readFile("old"), "old");
  EXPECT_FALSE(fs::exists("new"));
  OutputFile file;
  ASSERT_EQ(file.open("old"), OpenResult::kDone);
  ASSERT_TRUE(file.start());
  std::string xs;
  xs.append(9000, 'x');
  const std::string line = xs + "\n\n";
  EXPECT_TRUE(file.write(line.data(), line.size()) && file.close());
  EXPECT_EQ(readFile("old"), xs + kLineEnd + kLineEnd);
  EXPECT_EQ(file.open("inner"), OpenResult::kFolder);
  EXPECT_EQ(file.open("no folder/a"), OpenResult::kMissing);
  EXPECT_NE(file.create("old", "old"), OpenResult::kDone);
}

TEST_F(TextFile, OneFileIsKnownByAllItsNames) {
  // The last name is outside of Latin-1 in the code page of Western Windows, and UTF-8 elsewhere.
  for (const char* name : {"a", "b", "\xC5\xA0\x9A"}) writeFile(name, "x");
  std::error_code noHardLink, noLink;
  fs::create_hard_link("a", "hard", noHardLink);
  fs::create_symlink("a", "soft", noLink);
  const struct {
    const char *a, *b;
    bool same;
  } rows[] = {{"a", "a", true},
              {"a", "./inner/../a", true},
              {"a", "b", false},
              {"a", "hard", !noHardLink},
              {"a", "soft", !noLink},
              {"\xC5\xA0\x9A", "./\xC5\xA0\x9A", true},
              {"\xC5\xA0\x9A", "a", false},
              {"a", "A", !kNamesHaveCase},
              {"a", "missing", false},
              {"missing", "inner/../missing", true},
              {"missing", "MISSING", !kNamesHaveCase},
              {"missing", "inner/missing", false},
              {"no folder/a", "no folder/a", false},
              {"inner", "inner", false},
              {"a", nullptr, false},
              {nullptr, nullptr, false}};
  for (const auto& row : rows) {
    EXPECT_EQ(sameFile(row.a, row.b), row.same)
        << (row.a ? row.a : "null") << ' ' << (row.b ? row.b : "null");
  }
  EXPECT_EQ(fileInfo("a").size, 1U);
  EXPECT_EQ(fileInfo("inner").kind, FileKind::kFolder);
  EXPECT_EQ(fileInfo("missing").kind, FileKind::kMissing);
}

TEST_F(TextFile, WhatTheStoreKeepsForItselfIsHeld) {
  FileSystem& files = nativeFileSystem();
  auto data = files.create("data");
  ASSERT_NE(data, nullptr);
  ASSERT_EQ(data->writeAt(0, "data", 4), Transfer::kDone);
  InputFile input;
  OutputFile output;
  EXPECT_EQ(input.open("data"), OpenResult::kHeld);
  EXPECT_EQ(output.open("data"), OpenResult::kHeld);
  {
    Replacement place;
    place.prepare("data");
    writeFile(place.path().c_str(), "new");
    EXPECT_FALSE(place.commit());
  }
  data.reset();
  EXPECT_EQ(readFile("data"), "data");

  // Readers keep writers out that share reading alone, and the other way round.
  data = files.open("data", Access::kReadWrite, Sharing::kRead);
  EXPECT_EQ(input.open("data"), OpenResult::kDone);
  EXPECT_EQ(output.open("data"), OpenResult::kHeld);
  data.reset();
  EXPECT_EQ(files.open("data", Access::kReadWrite, Sharing::kNone), nullptr);
  EXPECT_NE(files.open("data", Access::kReadWrite, Sharing::kReadWrite), nullptr);
  EXPECT_FALSE(files.remove("data"));
  input.close();
  ASSERT_EQ(output.open("data"), OpenResult::kDone);
  EXPECT_EQ(files.open("data", Access::kRead, Sharing::kRead), nullptr);
  output.abandon();
  EXPECT_NE(files.open("data", Access::kRead, Sharing::kNone), nullptr);
  EXPECT_EQ(readFile("data"), "data");
}

TEST_F(TextFile, ReplacementIsThereAsAWholeOrNotAtAll) {
  writeFile("old", "old");
  std::string path;
  {
    Replacement place;
    place.prepare("old");
    path = place.path();
    writeFile(path.c_str(), "new");
  }
  EXPECT_FALSE(fs::exists(path));
  EXPECT_EQ(readFile("old"), "old");
  Replacement place;
  place.prepare("old");
  OutputFile file;
  ASSERT_EQ(file.create(path.c_str(), "old"), OpenResult::kDone);
  EXPECT_TRUE(file.start() && file.write("new", 3) && file.close());
  EXPECT_TRUE(place.commit());
  EXPECT_FALSE(fs::exists(path));
  EXPECT_EQ(readFile("old"), "new");
}

#ifndef _WIN32
TEST_F(TextFile, ReplacementFollowsLinksAndKeepsPermissions) {
  writeFile("old", "old");
  fs::permissions("old", fs::perms::owner_read | fs::perms::owner_write);
  fs::create_symlink("old", "link");
  Replacement place;
  place.prepare("link");
  OutputFile file;
  ASSERT_EQ(file.create(place.path().c_str(), "link"), OpenResult::kDone);
  ASSERT_TRUE(file.start() && file.close() && place.commit());
  EXPECT_TRUE(fs::is_symlink("link"));
  EXPECT_EQ(readFile("old"), "");
  EXPECT_EQ(fs::status("old").permissions(), fs::perms::owner_read | fs::perms::owner_write);
}
#endif

}  // namespace
}  // namespace tavo::platform
