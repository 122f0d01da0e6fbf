// A prompt program without a window: notes what it receives.
#include <unistd.h>

#include <fstream>
#include <memory>
#include <string>

#include "cx_capdlg_lib.h"

namespace {

void Note(const std::string& line) {
  std::ofstream("/tmp/stand_in_notes", std::ios::app) << line << std::endl;
}

std::string Behaviour() {
  std::string word;
  std::ifstream("/tmp/stand_in_behaviour") >> word;
  return word;
}

void NoteItem(const smo_data_t& item) {
  if (item.quit_flag == 1) Note("quit");
  if (item.msg_flag == 1) {
    Note("text " + std::string(reinterpret_cast<const char*>(&item) +
                               offsetof(smo_data_t, msg_text)));
  }
  if (item.img_flag == 1) {
    Note("images " + std::to_string(item.img1_len) + " " +
         std::to_string(item.img2_len));
  }
}

}  // namespace

int main(int argc, char** argv) {
  const std::string behaviour = Behaviour();
  if (behaviour == "ends") return 0;
  Note("start " + std::string(argc > 1 ? argv[1] : "") + " " +
       std::to_string(cx_dlg_get_dlgtype()) + " " +
       std::to_string(cx_dlg_get_timeout()));
  const auto item = std::make_unique<smo_data_t>();
  while (true) {
    const int32_t taken = cx_dlg_recv_data(item.get(), nullptr);
    if (taken == CX_DLG_FAILED && behaviour == "watches") return 0;
    if (taken > 0) {
      NoteItem(*item);
      if (item->quit_flag == 1 && behaviour != "stubborn") return 0;
    }
    usleep(5000);
  }
}
