// A prompt program without a window: notes what it receives.
#include <signal.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "cx_capdlg_lib.h"

int main(int, char** argv) {
  std::string behaviour;
  std::ifstream("/tmp/stand_in_behaviour") >> behaviour;
  if (behaviour == "stubborn") signal(SIGTERM, SIG_IGN);
  std::ofstream notes("/tmp/stand_in_notes", std::ios::app);
  notes << "start " << argv[1] << ' ' << cx_dlg_get_dlgtype() << ' '
        << cx_dlg_get_timeout() << std::endl;
  static smo_data_t item;
  while (true) {
    const int32_t taken = cx_dlg_recv_data(&item, nullptr);
    if (taken == CX_DLG_FAILED && behaviour == "watches") return 0;
    if (item.msg_flag == 1) {
      const char* const record = reinterpret_cast<const char*>(&item);
      notes << "text " << record + offsetof(smo_data_t, msg_text) << std::endl;
    }
    if (item.img_flag == 1) {
      notes << "images " << item.img1_len << ' ' << item.img2_len << std::endl;
    }
    if (item.quit_flag == 1) {
      notes << "quit" << std::endl;
      if (behaviour != "stubborn") return 0;
    }
    usleep(5000);
  }
}
