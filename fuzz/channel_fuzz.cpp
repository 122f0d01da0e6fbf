// The shared block as another user of the machine may write it, seen by the
// window's side and by the driver's.
#include <sys/shm.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "cx_capdlg/picture.h"
#include "cx_capdlg/prompt_text.h"
#include "cx_capdlg_lib.h"
#include "extern/smo_opt/smo_base1.h"
#include "fuzzing.h"

namespace {

using fuzzing::Input;

constexpr size_t kTextAt = offsetof(smo_data_t, msg_text);
constexpr size_t kTailBytes = sizeof(smo_data_t) - kTextAt;

// A fill for the block's text, or for all from there to the block's end; its
// numbers; bytes of the text and of a picture.
void Attack(Input* input, smo_data_t* block) {
  auto* const text = reinterpret_cast<uint8_t*>(block) + kTextAt;
  const auto fill = input->Take<uint8_t>();
  std::fill_n(text, fill >= 0xF0 ? kTailBytes : sizeof block->msg_text, fill);
  for (int32_t* const number :
       {&block->timeout, &block->dlg_type, &block->quit_flag, &block->msg_flag,
        &block->img_flag, &block->img1_len, &block->img2_len}) {
    *number = input->Take<int32_t>();
  }
  input->Take(text, sizeof block->msg_text);
  input->Take(block->img1_data, CX_SMO_IMAGE_BYTES);
}

struct __attribute__((packed)) BmpHead {
  uint8_t unused[10];
  int32_t pixels_at, head_bytes, width, height;
  uint16_t planes, bits;
};

// A decoder may trust the head of a picture that is let through.
void LookAtPicture(const smo_data_t& item) {
  for (const int32_t length : {item.img1_len, item.img2_len}) {
    MUST(length >= 0 && length <= CX_SMO_IMAGE_BYTES);
  }
  // A copy of just these bytes: the sanitizer guards their end.
  const std::vector<uint8_t> picture(item.img1_data,
                                     item.img1_data + item.img1_len);
  if (!corvex::IsBmp(picture.data(), picture.size())) return;
  BmpHead head;
  std::memcpy(&head, picture.data(), sizeof head);
  const int64_t row_bytes = (int64_t{head.width} * head.bits + 31) / 32 * 4;
  MUST(head.pixels_at + row_bytes * std::abs(head.height) <= item.img1_len);
}

// A long text may run over the pictures' flag, but never so that a length of
// its making is believed.
void LookAt(const smo_data_t& item) {
  const char* const text = reinterpret_cast<const char*>(&item) + kTextAt;
  MUST(strnlen(text, kTailBytes) < kTailBytes);
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
  int32_t items = 0;
  while (cx_dlg_recv_data(item.get(), nullptr) == 1) {
    MUST(++items <= 3);
    LookAt(*item);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input input(data, size);
  constexpr size_t kBytes[] = {1, kTextAt, CX_SMO_SIZE - 1, CX_SMO_SIZE + 1};
  const auto choice = input.Take<uint8_t>();
  const size_t bytes = choice < 4 ? kBytes[choice] : CX_SMO_SIZE;
  const int32_t kind = input.Take<uint8_t>() % 6;
  // The segment is of the attacker's making.
  const int id = shmget(SegmentKey(kSegmentPath), bytes, IPC_CREAT | 0666);
  void* const block = shmat(id, nullptr, 0);
  MUST(id >= 0 && block != reinterpret_cast<void*>(-1));
  if (bytes >= sizeof(smo_data_t)) {
    Attack(&input, static_cast<smo_data_t*>(block));
  }
  WindowSide();
  CxSmoBase1 channel;
  static const auto staging = std::make_unique<smo_data_t>();
  CopyRecordText(*staging, " 请您第一次按捺手指...");
  staging->img1_len = 1;
  channel.sm_set_data(kind, *staging);
  if (kind == 0) channel.sm_opt_init(CX_SMO_SIZE);
  WindowSide();
  shmdt(block);
  shmctl(id, IPC_RMID, nullptr);
  return 0;
}
