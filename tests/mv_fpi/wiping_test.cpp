// What a finger leaves in memory: the driver's freed blocks, its dead stack and
// its statics are searched for the record, in every form that it takes on its
// way.
#include <malloc.h>
#include <mv_match.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "MvMatch/minutiae_record.h"
#include "call_fixture.h"

namespace {

// One form of the record: a piece of its inside, too long to arise by chance.
struct Form {
  const char* name;
  std::array<char, 24> piece;
  bool found;
};

// Plain arrays, as they are read while memory is being freed.
std::array<Form, 5> g_forms;
thread_local bool g_watching = false;
bool g_has_no_memory = false;  // while watching
char* g_stack = nullptr;       // of the thread that is watched
int g_freed_blocks = 0;

// As the driver is: a name that is looked up late saves every register on the
// stack, with what was copied last.
__attribute__((constructor)) void BindAllNames(int, char** argv) {
  if (getenv("LD_BIND_NOW") != nullptr) return;
  setenv("LD_BIND_NOW", "1", 1);
  execvp(argv[0], argv);
}

void SetForm(size_t index, const char* name, const void* middle) {
  g_forms[index] = {name, {}, false};
  std::memcpy(g_forms[index].piece.data(), middle, g_forms[index].piece.size());
}

void Search(const void* memory, size_t bytes) {
  const std::string_view text(static_cast<const char*>(memory), bytes);
  for (Form& form : g_forms) {
    const std::string_view piece(form.piece.data(), form.piece.size());
    if (text.find(piece) != std::string_view::npos) form.found = true;
  }
}

// What was called from here has ended, and its stack is not yet used anew.
void SearchStack() {
  const char* const end = static_cast<char*>(__builtin_frame_address(0));
  Search(g_stack, static_cast<size_t>(end - g_stack));
}

}  // namespace

extern "C" {

// Where this program's statics lie.
extern const char __data_start[], _end[];

void* __libc_calloc(size_t count, size_t size);
void __libc_free(void* memory);

void* calloc(size_t count, size_t size) {
  return g_watching && g_has_no_memory ? nullptr : __libc_calloc(count, size);
}

// Takes the place of the C library's, also for operator delete.
void free(void* memory) {
  if (g_watching && memory != nullptr) {
    ++g_freed_blocks;
    Search(memory, malloc_usable_size(memory));
  }
  __libc_free(memory);
}

// The driver does it often: with the log, at the end of each step.
int close(int file) {
  if (g_watching) SearchStack();
  return static_cast<int>(syscall(SYS_close, file));
}

}  // extern "C"

namespace {

class WipingTest : public CallTest {
 public:
  void LookInPause() override {
    if (g_watching) SearchStack();
  }

 protected:
  static constexpr size_t kStackBytes = 1 << 20;

  WipingTest() {
    const std::string hex = support::ToHex(record_.data(), record_.size());
    corvex::WorkingForm working{};
    ConvertTransferFormat(&working, record_.data());
    std::array<int16_t, corvex::kMaxMinutiae> x{};
    for (size_t i = 0; i < x.size(); ++i) x[i] = working.minutiae.entry[i].x;
    SetForm(0, "record", record_.data() + 40);
    SetForm(1, "hex text", hex.data() + 250);  // decoding overwrites the front
    SetForm(2, "Base64 text", text_.data() + 160);
    SetForm(3, "working form", &working.minutiae.entry[5]);
    SetForm(4, "column of the working form", &x[5]);
    reader_.Press(record_);
    notes_steps_ = false;  // looking at the line would leave what was on it
  }

  // Runs the call on a stack of its own, and searches that afterwards.
  template <typename Call>
  static void Watch(Call call) {
    void* const stack = mmap(nullptr, kStackBytes, PROT_READ | PROT_WRITE,
                             MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(MAP_FAILED, stack);
    g_stack = static_cast<char*>(stack);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstack(&attributes, stack, kStackBytes);
    pthread_t thread;
    const auto run = [](void* call_of_thread) -> void* {
      g_watching = true;
      (*static_cast<Call*>(call_of_thread))();
      return nullptr;  // still watching: a thread's end frees its matchers
    };
    ASSERT_EQ(0, pthread_create(&thread, &attributes, run, &call));
    pthread_join(thread, nullptr);
    Search(stack, kStackBytes);
    const char* const forms = reinterpret_cast<const char*>(&g_forms);
    Search(__data_start, static_cast<size_t>(forms - __data_start));
    const char* const rest = forms + sizeof g_forms;
    Search(rest, static_cast<size_t>(_end - rest));
    EXPECT_GT(g_freed_blocks, 0);
  }
  static void ExpectNothingFound() {
    for (const Form& form : g_forms) EXPECT_FALSE(form.found) << form.name;
  }

  void ExpectNothingLeftBy(const std::string& call) {
    int result = -1;
    Watch([&] { result = Call(call, with_); });
    EXPECT_EQ(0, result);
    EXPECT_EQ(text_ + '\0', Out());
    ExpectNothingFound();
  }

  const support::Bytes record_ = Record(30);
  const std::string text_ = TextOf(record_);
};

TEST_F(WipingTest, TheSearchFindsWhatIsLeft) {
  Watch([this] {
    char* const copy = static_cast<char*>(malloc(record_.size()));
    std::memcpy(copy, record_.data(), record_.size());
    free(copy);
  });
  EXPECT_TRUE(g_forms[0].found);
}

TEST_F(WipingTest, ACaptureLeavesNothing) {
  ExpectNothingLeftBy("FG_GetFeature");
}

TEST_F(WipingTest, AnEnrolmentLeavesNothing) {
  ExpectNothingLeftBy("FG_GetTemplate");
}

TEST_F(WipingTest, AComparisonLeavesNothing) {
  // Threads without memory of their own take turns at a common matcher.
  for (const bool has_memory : {true, false}) {
    g_has_no_memory = !has_memory;
    int score = -1;
    Watch([&] { score = FG_FpMatch(text_.c_str(), text_.c_str(), 0); });
    EXPECT_EQ(100, score);
    ExpectNothingFound();
  }
  g_has_no_memory = false;
}

TEST_F(WipingTest, AGalleryLeavesNothing) {
  mv_hit hit{};
  Watch([&] {
    mv_gallery* const gallery = mv_gallery_new();
    mv_gallery_add(gallery, 7, 0, record_.data(), record_.size());
    SearchStack();
    mv_gallery_search(gallery, record_.data(), record_.size(), nullptr, &hit,
                      1);
    mv_gallery_free(gallery);
  });
  EXPECT_EQ(7, hit.id);
  ExpectNothingFound();
}

}  // namespace
