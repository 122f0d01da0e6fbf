// What the prompt channel costs: a post, an idle look, the search for the
// program. Root only: it moves into an IPC namespace of its own.
#include <benchmark/benchmark.h>
#include <sched.h>

#include <cstdio>
#include <memory>

#include "cx_capdlg_lib.h"
#include "cx_dlg/grey_bmp.h"
#include "extern/smo_opt/smo_base1.h"

namespace {

class Channel : public benchmark::Fixture {
 public:
  void SetUp(benchmark::State& state) override {
    if (writer_.sm_opt_init(CX_SMO_SIZE) < 0) {
      state.SkipWithError("no shared block");
    }
  }
  void TearDown(benchmark::State&) override { writer_.sm_opt_uninit(); }

 protected:
  CxSmoBase1 writer_;
  std::unique_ptr<smo_data_t> record_ = std::make_unique<smo_data_t>();
};

BENCHMARK_F(Channel, PostText)(benchmark::State& state) {
  for (auto _ : state) {
    CopyRecordText(*record_, " 请您第一次按捺手指...");
    writer_.sm_set_data(SMO_SET_MSG, *record_);
  }
}

BENCHMARK_F(Channel, PostPicture)(benchmark::State& state) {
  record_->img1_len = BmpBytes(152, 200);
  for (auto _ : state) writer_.sm_set_data(SMO_SET_IMAGES, *record_);
}

// What the window does ten times a second.
BENCHMARK_F(Channel, ReceiveNothing)(benchmark::State& state) {
  for (auto _ : state) cx_dlg_recv_data(record_.get(), nullptr);
}

// A shell and pgrep, as every post looks for the program.
BENCHMARK_F(Channel, SearchTheProgram)(benchmark::State& state) {
  for (auto _ : state) writer_.sm_app_running("cx_capdlg");
}

}  // namespace

int main(int argc, char** argv) {
  // Else an enrolment on this machine would be disturbed.
  if (unshare(CLONE_NEWIPC) != 0) {
    perror("channel_bench needs an IPC namespace of its own");
    return 1;
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
