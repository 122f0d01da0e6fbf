// The shared block as another user of the machine may write it, seen by the
// window's side and by the driver's.
#include <sys/shm.h>

#include <algorithm>
#include <memory>

#include "cx_capdlg/picture.h"
#include "cx_capdlg/prompt_text.h"
#include "cx_capdlg_lib.h"
#include "extern/smo_opt/smo_base1.h"
#include "fuzzing.h"

namespace {

using fuzzing::Input;

constexpr size_t kTextAt = offsetof(smo_data_t, msg_text);

// The segment of the attacker's making, removed at the end.
class Segment {
 public:
  explicit Segment(size_t bytes)
      : id_(shmget(SegmentKey(kSegmentPath), bytes, IPC_CREAT | 0666)),
        address_(shmat(id_, nullptr, 0)) {
    MUST(id_ >= 0 && address_ != reinterpret_cast<void*>(-1));
  }
  ~Segment() {
    shmdt(address_);
    shmctl(id_, IPC_RMID, nullptr);
  }
  Segment(const Segment&) = delete;
  Segment& operator=(const Segment&) = delete;

  smo_data_t* Block() const { return static_cast<smo_data_t*>(address_); }

 private:
  const int id_;
  void* const address_;
};

// The block's numbers, a fill for its text, then bytes of the text itself.
void Attack(Input* input, smo_data_t* block) {
  block->timeout = input->Int32();
  block->dlg_type = input->Int32();
  block->quit_flag = input->Int32();
  block->msg_flag = input->Int32();
  block->img_flag = input->Int32();
  block->img1_len = input->Int32();
  block->img2_len = input->Int32();
  const uint8_t fill = input->Byte();
  const int32_t img_flag = block->img_flag;
  const int32_t img1_len = block->img1_len;
  auto* const text = reinterpret_cast<uint8_t*>(block) + kTextAt;
  if (fill >= 0xF0) {  // one text to the record's very end
    std::fill_n(text, sizeof *block - kTextAt, fill);
    block->img_flag = img_flag;
    block->img1_len = img1_len;
  } else {
    std::fill_n(text, sizeof block->msg_text, fill);
  }
  input->Take(text, sizeof block->msg_text);
  input->Take(block->img1_data, CX_SMO_IMAGE_BYTES);
}

bool IsSent(int32_t length) {
  return length >= 0 && length <= CX_SMO_IMAGE_BYTES;
}

void LookAtPicture(const smo_data_t& item) {
  MUST(IsSent(item.img1_len) && IsSent(item.img2_len));
  // A copy of just these bytes: the sanitizer guards their end.
  const auto length = static_cast<size_t>(item.img1_len);
  const auto picture = std::make_unique<uint8_t[]>(length);
  std::copy_n(item.img1_data, length, picture.get());
  corvex::IsBmp(picture.get(), length);
}

// A long text may run over the pictures' flag, but never so that a length of
// its making is believed.
void LookAt(const smo_data_t& item) {
  const char* const text = reinterpret_cast<const char*>(&item) + kTextAt;
  MUST(strnlen(text, sizeof item - kTextAt) < sizeof item - kTextAt);
  const std::string shown = corvex::ShownText(item);
  MUST(shown.size() <= sizeof item.msg_text);
  corvex::PressOf(shown);
  if (item.img_flag == 1) LookAtPicture(item);
}

void WindowSide() {
  static const auto item = std::make_unique<smo_data_t>();
  cx_dlg_get_timeout();
  cx_dlg_get_dlgtype();
  // A kind has one slot: after three items nothing is pending, whatever the
  // flags were.
  int32_t taken = 1;
  for (int i = 0; i < 3 && taken == 1; ++i) {
    taken = cx_dlg_recv_data(item.get(), nullptr);
    if (taken == 1) LookAt(*item);
  }
  if (taken == 1) taken = cx_dlg_recv_data(item.get(), nullptr);
  MUST(taken == CX_DLG_NOTHING || taken == CX_DLG_FAILED);
}

void DriverSide(int32_t kind, CxSmoBase1* channel) {
  static const auto staging = std::make_unique<smo_data_t>();
  CopyRecordText(*staging, " 请您第一次按捺手指...");
  staging->img1_len = 1;
  channel->sm_set_data(kind, *staging);
}

size_t SegmentBytes(uint8_t choice) {
  constexpr size_t kBytes[] = {1, kTextAt, CX_SMO_SIZE - 1, CX_SMO_SIZE + 1};
  return choice < 4 ? kBytes[choice] : CX_SMO_SIZE;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  const size_t bytes = SegmentBytes(input.Byte());
  const int32_t kind = input.Byte() % 6;
  const Segment segment(bytes);
  if (bytes >= sizeof(smo_data_t)) Attack(&input, segment.Block());
  WindowSide();
  CxSmoBase1 channel;
  DriverSide(kind, &channel);
  if (kind == 0) channel.sm_opt_init(CX_SMO_SIZE);
  WindowSide();
  return 0;
}
