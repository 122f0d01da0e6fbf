// What a finger leaves in memory: the driver's freed blocks and its dead stack
// are searched for the record, in every form that it takes on its way.
#include <malloc.h>
#include <pthread.h>
#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "MvMatch/minutiae_record.h"
#include "call_fixture.h"
#include "mv_base/base64.h"
#include "mv_base/hex.h"

namespace {

using support::Bytes;

// One form of the record: a piece of its inside, too long to arise by chance.
struct Form {
  const char* name;
  std::array<char, 24> piece;
  bool found;
};

// Plain arrays, as they are read while memory is being freed.
std::array<Form, 5> g_forms;
thread_local bool g_watching = false;
int g_freed_blocks = 0;

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

}  // namespace

extern "C" {

void __libc_free(void* memory);

// Takes the place of the C library's, also for operator delete.
void free(void* memory) {
  if (g_watching && memory != nullptr) {
    ++g_freed_blocks;
    Search(memory, malloc_usable_size(memory));
  }
  __libc_free(memory);
}

}  // extern "C"

namespace {

class WipingTest : public CallTest {
 protected:
  static constexpr size_t kStackBytes = 1 << 20;

  WipingTest() {
    const std::string text = Text();
    std::string hex(2 * record_.size(), '\0');
    Bin2Hex(hex.data(), record_.data(), static_cast<int32_t>(record_.size()));
    corvex::WorkingForm working{};
    ConvertTransferFormat(&working, record_.data());
    std::array<int16_t, corvex::kMaxMinutiae> x{};
    for (size_t i = 0; i < x.size(); ++i) x[i] = working.minutiae.entry[i].x;
    SetForm(0, "record", record_.data() + 40);
    SetForm(1, "hex text", hex.data() + 250);  // decoding overwrites the front
    SetForm(2, "Base64 text", text.data() + 160);
    SetForm(3, "working form", &working.minutiae.entry[5]);
    SetForm(4, "column of the working form", &x[5]);
    g_freed_blocks = 0;
  }

  std::string Text() const {
    std::string text(static_cast<size_t>(
                         Base64Length(static_cast<int32_t>(record_.size()))) +
                         1,
                     '\0');
    EncodeB64(text.data(), record_.data(),
              static_cast<int32_t>(record_.size()));
    return text;
  }

  // Runs the call on a stack of its own, and searches that afterwards.
  template <typename Call>
  static void Watch(Call call) {
    void* const stack = mmap(nullptr, kStackBytes, PROT_READ | PROT_WRITE,
                             MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(MAP_FAILED, stack);
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
    pthread_attr_destroy(&attributes);
    Search(stack, kStackBytes);
    munmap(stack, kStackBytes);
  }

  static void ExpectNothingLeft() {
    EXPECT_GT(g_freed_blocks, 0);
    for (const Form& form : g_forms) EXPECT_FALSE(form.found) << form.name;
  }

  const Bytes record_ = Record(30);
  char text_[FG_TEMPLATE_BYTES] = {};
  int length_ = 0;
  char message_[FG_MESSAGE_BYTES] = {};
};

TEST_F(WipingTest, TheSearchFindsWhatIsLeft) {
  const Bytes& record = record_;
  Watch([&record] {
    char* const copy = static_cast<char*>(malloc(record.size()));
    std::memcpy(copy, record.data(), record.size());
    free(copy);
  });
  EXPECT_TRUE(g_forms[0].found);
}

TEST_F(WipingTest, ACaptureLeavesNothing) {
  reader_.Press(record_);
  int result = -1;
  Watch([&] {
    result = FG_GetFeature(Port(), "", 9600, 5, text_, &length_, message_);
  });
  EXPECT_EQ(0, result);
  EXPECT_STREQ(Text().c_str(), text_);
  ExpectNothingLeft();
}

TEST_F(WipingTest, AnEnrolmentLeavesNothing) {
  reader_.Press(record_);
  int result = -1;
  Watch([&] {
    result = FG_GetTemplate(Port(), "", 9600, 20, text_, &length_, message_);
  });
  EXPECT_EQ(0, result);
  EXPECT_STREQ(Text().c_str(), text_);
  ExpectNothingLeft();
}

TEST_F(WipingTest, AComparisonLeavesNothing) {
  const std::string text = Text();
  int score = -1;
  Watch([&] { score = FG_FpMatch(text.c_str(), text.c_str(), 0); });
  EXPECT_EQ(100, score);
  ExpectNothingLeft();
}

}  // namespace
