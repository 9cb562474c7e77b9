// Files with a journal, on a machine that stops at any transfer: every change that was finished is
// there, and nothing of one that was not.
#include "engine_fixture.h"
#include "machine.h"

namespace tavo::engine::test {
namespace {

// What a file holds: numbers with names and sizes.
using Contents = std::map<std::uint32_t, std::pair<std::string, int>>;

std::string name(std::uint32_t n) {
  return std::string(40 + n * 31 % 120, static_cast<char>('a' + n % 26)) + std::to_string(n);
}

// One process with the file open.
class User {
 public:
  User(Machine& machine, const Setting& setting, int killed, std::uint32_t seed, int access = 2)
      : process(machine, killed, seed), cache_(setting.buffers), store(cache_, process) {
    Options options = optionsOf(setting);
    options.access = access;
    options.workBufferSize = 3000;
    opened = machine.files.count(kPath) != 0 ? store.open(kPath, kIndexes, options)
                                             : store.create(kPath, kIndexes, options);
    if (opened == kOk) store.setWriteMode(setting.mode);
  }

  // Does it, and in `now` what it does when it succeeds, or when the process is killed at it.
  int change(Contents& now, int what, std::uint32_t n) {
    if (!process.alive()) return kNotFound;
    sample_.set(static_cast<int>(n % 3), n, name(n), static_cast<int>(n * 97 % 1500));
    int code = kOk;
    if (what != 0) code = store.find(3, &n, 4, kEqual);
    if (what != 0 && code == kOk) code = store.lockRecord();
    if (what == 1) sample_.set(7, n, name(n + 5), static_cast<int>(n * 53 % 1700));
    const std::pair<std::string, int> values = {sample_.name, sample_.blobSize()};
    if (code == kOk) {
      code = what == 0   ? store.insert(sample_.fields, kSampleType)
             : what == 1 ? store.replace(sample_.fields)
                         : store.remove(sample_.fields);
    }
    if (code != kOk && process.alive()) return code;
    if (what == 2) {
      now.erase(n);
    } else if (what == 1 || now.count(n) == 0) {
      now[n] = values;
    }
    return code;
  }

  Contents contents() {
    Contents found;
    int code = store.position(3, kFirst);
    for (; code == kOk; code = store.position(3, kNext)) {
      EXPECT_EQ(store.read(sample_.fields), kOk);
      EXPECT_TRUE(sample_.intact());
      found[sample_.number] = {sample_.name, sample_.blobSize()};
    }
    EXPECT_TRUE(code == kNotFound && !store.systemFailed());
    EXPECT_EQ(store.recordCount(), found.size());
    return found;
  }

 private:
  Sample sample_;

 public:
  Process process;

 private:
  PageCache cache_;

 public:
  Store store;
  int opened;
};

// Changes one after the other, some of them several in a transaction. `finished` is what those that
// returned have left, `begun` what the last one would leave. False when the process was killed.
bool work(User& user, Contents& finished, Contents& begun) {
  const auto step = [&](auto&& change) {
    begun = finished;
    change();
    if (!user.process.alive()) return false;
    finished = begun;
    return true;
  };
  for (std::uint32_t n = 1; n <= 5; ++n) {
    const std::uint32_t first = n * 10;
    const bool alive =
        step([&] {
          EXPECT_TRUE(user.change(begun, 0, first + 1) == kOk || !user.process.alive());
        }) &&
        // A number that is there already: refused, and the next one reuses its record number.
        step([&] { user.change(begun, 0, first + 1); }) &&
        step([&] { user.change(begun, 1, 2 * n); }) && step([&] {
          user.store.beginWrite();
          user.change(begun, 0, first + 2);
          user.change(begun, 0, first + 2);
          user.change(begun, 1, first + 1);
          user.change(begun, 2, 2 * n + 1);
          user.store.endWrite();
        }) &&
        step([&] { user.change(begun, 2, 2 * n); });
    if (!alive) return false;
  }
  begun = finished;
  user.store.close();
  return user.process.alive();
}

Contents makeBase(Machine& machine) {
  User maker(machine, {0, 'E', true}, -1, 1);
  EXPECT_EQ(maker.opened, kOk);
  Contents made;
  for (std::uint32_t n = 2; n < 40; n += n < 12 ? 1 : 7) {
    if (n % 10 == 1) continue;
    EXPECT_EQ(maker.change(made, 0, n), kOk);
  }
  EXPECT_EQ(maker.store.close(), kOk);
  return made;
}

// Opens the file again and holds it to what was promised.
void expectWhole(Machine& machine, const Setting& setting, const Contents& finished,
                 const Contents& begun) {
  {
    User next(machine, setting, -1, 1);
    ASSERT_EQ(next.opened, kOk);
    Contents found = next.contents();
    EXPECT_TRUE(found == finished || found == begun);
    EXPECT_EQ(next.change(found, 0, 999), kOk);
    EXPECT_EQ(next.contents(), found);
    EXPECT_EQ(next.store.close(), kOk);
  }
  Process looker(machine);
  EXPECT_EQ(findings(kPath, nullptr, looker), "");
}

constexpr Setting kCrashSettings[] = {{0, 'E', true, 10}, {1, 'E', true, 2}, {2, 'E', true, 1},
                                      {3, 'E', true, 10}, {4, 'E', true, 3}, {0, 'S', true, 1},
                                      {1, 'S', true, 10}, {4, 'S', true, 2}, {3, 'E', true, 0}};

std::uint32_t seed(std::mt19937& random) { return static_cast<std::uint32_t>(random()); }

int step(int k) { return TAVO_TEST_EFFORT >= 100 ? 1 : 1 + k % 11 + 200 / TAVO_TEST_EFFORT / 10; }

// Works on the machine until it stops at transfer k. Whether the work was done by then.
bool workUntilStop(Machine& machine, const Setting& setting, int k, std::mt19937& random,
                   Contents& finished, Contents& begun) {
  bool done;
  {
    User user(machine, setting, k, seed(random));
    done = user.opened == kOk && work(user, finished, begun);
  }
  machine.stop(random);
  return done;
}

TEST(Crash, StoppedAnywhereTheFileHoldsTheFinishedChangesAlone) {
  Machine base;
  const Contents made = makeBase(base);
  int stops = 0;
  for (const Setting& setting : kCrashSettings) {
    for (int k = 0;; k += step(k)) {
      SCOPED_TRACE(testing::Message() << "mode " << setting.mode << setting.sharing << ", "
                                      << setting.buffers << " buffers, transfer " << k);
      Machine machine(base);
      std::mt19937 random(static_cast<std::uint32_t>(k));
      Contents finished = made;
      Contents begun = made;
      const bool done = workUntilStop(machine, setting, k, random, finished, begun);
      // Taking back may be stopped, too.
      for (int again = 0; again < k % 3; ++again) {
        { const User next(machine, setting, static_cast<int>(random() % 30), seed(random)); }
        machine.stop(random);
      }
      expectWhole(machine, setting, finished, begun);
      if (HasFailure()) return;
      ++stops;
      if (done) break;
    }
  }
  EXPECT_GT(stops, TAVO_TEST_EFFORT >= 100 ? 2000 : 100);
}

// Without a journal the marker of mode 4 says whether the file can be trusted.
TEST(Crash, InModeFourTheFileIsWholeOrMarked) {
  Machine base;
  const Contents made = makeBase(base);
  int marks = 0;
  for (const Setting& setting : {Setting{4, 'E', false, 10}, Setting{4, 'S', false, 2}}) {
    for (int k = 0;; k += step(k)) {
      SCOPED_TRACE(testing::Message() << setting.sharing << " transfer " << k);
      Machine machine(base);
      std::mt19937 random(static_cast<std::uint32_t>(k));
      Contents finished = made;
      Contents begun = made;
      const bool done = workUntilStop(machine, setting, k, random, finished, begun);
      const bool marked =
          loadU16(machine.files[kPath]->now.data() + kModifiedMarker) == kMarkerValue;
      if (marked) {
        User next(machine, setting, -1, 1);
        EXPECT_EQ(next.change(finished, 0, 999), kInterrupted);
        ++marks;
      } else {
        expectWhole(machine, setting, finished, begun);
      }
      if (HasFailure()) return;
      if (done) break;
    }
  }
  EXPECT_GT(marks, TAVO_TEST_EFFORT >= 100 ? 100 : 5);
}

// The others go on where one of those that share a file was killed; one that only reads, too.
TEST(Crash, WhoeverTakesTheGateNextTakesBack) {
  Machine base;
  const Contents made = makeBase(base);
  for (int k = 0;; k += step(k)) {
    SCOPED_TRACE(testing::Message() << "transfer " << k);
    Machine machine(base);
    std::mt19937 random(static_cast<std::uint32_t>(k));
    Contents finished = made;
    Contents begun = made;
    const Setting setting = {1, 'S', true, k % 2 == 0 ? 2u : 10u};
    User reader(machine, setting, -1, 1, 1);
    User other(machine, setting, -1, 1);
    ASSERT_EQ(reader.opened, kOk);
    ASSERT_EQ(other.opened, kOk);
    EXPECT_EQ(other.contents(), made);
    User user(machine, setting, k, seed(random));
    const bool done = user.opened == kOk && work(user, finished, begun);
    User& first = k % 3 == 0 ? reader : other;
    Contents found = first.contents();
    EXPECT_TRUE(found == finished || found == begun);
    EXPECT_EQ(other.change(found, 0, 1000), kOk);
    EXPECT_EQ(reader.contents(), found);
    machine.stop(random);
    expectWhole(machine, setting, found, found);
    if (HasFailure() || done) return;
  }
}

TEST(Crash, AFileIsMadeWithItsJournalOrNotAtAll) {
  for (const char sharing : {'E', 'S'}) {
    for (int k = 0;; ++k) {
      SCOPED_TRACE(testing::Message() << sharing << " transfer " << k);
      Machine machine;
      std::mt19937 random(static_cast<std::uint32_t>(k));
      Contents finished;
      Contents begun;
      bool made;
      bool done;
      {
        User maker(machine, {0, sharing, true}, k, seed(random));
        made = maker.opened == kOk;
        if (made) maker.change(begun, 0, 1);
        done = maker.process.alive();
        if (done) finished = begun;
      }
      machine.stop(random);
      if (made) expectWhole(machine, {0, sharing, true}, finished, begun);
      if (done || HasFailure()) break;
    }
  }
}

}  // namespace
}  // namespace tavo::engine::test
