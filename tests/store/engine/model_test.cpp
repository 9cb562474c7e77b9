// Random operations against a model in memory, and damaged files under all operations.
#include <map>
#include <random>

#include "engine_fixture.h"

namespace tavo::engine::test {
namespace {

struct Stored {
  int kind;
  std::string name;
  int blob;
};

// The store must tell the same as the model, by record number within equal keys.
void compare(Store& store, const std::map<std::uint32_t, Stored>& model) {
  Sample sample;
  auto expected = model.begin();
  int code = store.position(3, kFirst);
  for (; code == kOk; code = store.position(3, kNext), ++expected) {
    ASSERT_NE(expected, model.end());
    ASSERT_EQ(store.read(sample.fields), kOk);
    ASSERT_EQ(sample.number, expected->first);
    ASSERT_EQ(sample.kind, expected->second.kind);
    ASSERT_EQ(sample.name, expected->second.name);
    ASSERT_EQ(sample.blobSize(), expected->second.blob);
    ASSERT_TRUE(sample.intact());
  }
  ASSERT_EQ(code, kNotFound);
  ASSERT_EQ(expected, model.end());
}

TEST(Model, RandomOperations) {
  for (const int orderMode : {1, 2}) {
    const TempFile file;
    TestFiles files;  // without the system's slow flush
    PageCache cache(orderMode == 1 ? 10 : 4);
    Store store(cache, files);
    Options options;
    options.orderMode = orderMode;
    ASSERT_EQ(store.create(file.path(), kIndexes, options), kOk);
    std::mt19937 random(7);
    const auto below = [&random](int n) {
      return static_cast<int>(random() % static_cast<unsigned>(n));
    };
    std::map<std::uint32_t, Stored> model;
    Sample sample;
    for (int step = 0; step < 12000; ++step) {
      const auto number = static_cast<std::uint32_t>(below(2000));
      const Stored wanted = {
          below(4),
          "n" + std::string(static_cast<std::size_t>(below(40)), 'x') + std::to_string(below(50)),
          below(5) == 0 ? below(900) : below(60)};
      const auto known = model.find(number);
      const int action = below(10);
      if (step % 1000 == 0) store.setWriteMode(step % 3000 == 0 ? 0 : 3);
      if (action < 5) {
        sample.set(wanted.kind, number, wanted.name, wanted.blob);
        ASSERT_EQ(store.insert(sample.fields, kSampleType), known == model.end() ? kOk : kNotFound);
        if (known == model.end()) model[number] = wanted;
      } else {
        ASSERT_EQ(store.find(3, &number, 4, kEqual), known == model.end() ? kNotFound : kOk);
        if (known == model.end()) continue;
        if (action < 8) {
          ASSERT_EQ(store.remove(sample.fields), kOk);
          model.erase(known);
        } else {
          sample.set(wanted.kind, number, wanted.name, wanted.blob);
          ASSERT_EQ(store.replace(sample.fields), kOk);
          known->second = wanted;
        }
      }
      if (step % 3000 == 2999) {
        ASSERT_NO_FATAL_FAILURE(compare(store, model));
        ASSERT_EQ(store.close(), kOk);
        ASSERT_EQ(findings(file.path()), "");
        ASSERT_EQ(store.open(file.path(), kIndexes), kOk);
        ASSERT_EQ(store.setWriteMode(0), kOk);
      }
    }
    ASSERT_NO_FATAL_FAILURE(compare(store, model));
    EXPECT_EQ(store.recordCount(), model.size());
  }
}

// Every operation on a file of which anything may be wrong; results are as they may be, but each
// comes to its end.
void exercise(const char* path, std::mt19937& random) {
  TestFiles files;
  PageCache cache(random() % 3 == 0 ? 0 : 10);
  Store store(cache, files);
  if (store.open(path, kIndexes) != kOk) return;
  store.setWriteMode(0);
  Sample sample;
  std::uint8_t type = 0;
  for (int index = 1; index <= 20; ++index) {
    int steps = 0;
    for (int code = store.position(index, kFirst); code == kOk;
         code = store.position(index, kNext)) {
      store.read(sample.fields);
      ASSERT_LT(++steps, 100000);
    }
    for (int code = store.position(index, kLast); code == kOk;
         code = store.position(index, kPrevious)) {
      store.typeByte(&type);
      ASSERT_LT(++steps, 200000);
    }
  }
  for (int i = 0; i < 60; ++i) {
    const auto number = static_cast<std::uint32_t>(random() % 700);
    for (int mode = 1; mode <= 5; ++mode) store.find(3, &number, 4, mode);
    store.setCurrentRecord(static_cast<std::int32_t>(random() % 500));
    sample.set(static_cast<int>(random() % 4), number, "new", static_cast<int>(random() % 300));
    switch (random() % 3) {
      case 0:
        store.insert(sample.fields, kSampleType);
        break;
      case 1:
        store.replace(sample.fields);
        break;
      default:
        store.remove(sample.fields);
    }
  }
  store.close();
}

TEST(Damage, NoDamagedFileCrashesOrHangs) {
  const TempFile file;
  std::mt19937 random(11);
  {
    PageCache cache;
    Store store(cache);
    ASSERT_EQ(store.create(file.path(), kIndexes), kOk);
    ASSERT_EQ(store.setWriteMode(0), kOk);
    Sample sample;
    for (std::uint32_t n = 0; n < 500; ++n) {
      sample.set(static_cast<int>(n % 4), n * 263 % 503, "name " + std::to_string(n % 50),
                 static_cast<int>(n % 9 == 0 ? 600 : n % 40));
      ASSERT_EQ(store.insert(sample.fields, kSampleType), kOk);
      ASSERT_EQ(n % 5 == 0 ? store.remove(sample.fields) : kOk, kOk);
    }
    ASSERT_EQ(store.close(), kOk);
  }
  const std::vector<std::uint8_t> good = file.bytes();
  ASSERT_EQ(findings(file.path()), "");
  int noticed = 0;
  for (int round = 0; round < 150; ++round) {
    std::vector<std::uint8_t> bad = good;
    // Half of the damage goes where it hurts: page heads and header words.
    for (unsigned flips = 1 + random() % 8; flips > 0; --flips) {
      std::size_t at = random() % bad.size();
      if (random() % 2 == 0) at = at / 1024 * 1024 + random() % 18;
      if (at >= 4 && at < 60 && at % 4 == 0) ++at;
      bad[at] = random() % 3 == 0 ? static_cast<std::uint8_t>(random())
                                  : static_cast<std::uint8_t>(bad[at] ^ (1u << random() % 8));
    }
    if (random() % 10 == 0) bad.resize(random() % bad.size());
    file.write(bad);
    noticed += findings(file.path()).empty() ? 0 : 1;
    ASSERT_NO_FATAL_FAILURE(exercise(file.path(), random)) << round;
    findings(file.path());
    ASSERT_LT(file.bytes().size(), good.size() + 1000 * 1024);
  }
  EXPECT_GT(noticed, 110);
}

}  // namespace
}  // namespace tavo::engine::test
