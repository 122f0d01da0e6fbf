// The rows of the first print's index.
#ifndef SRC_MVMATCH_ANGLE_ROWS_H_
#define SRC_MVMATCH_ANGLE_ROWS_H_

#include "MvMatch/first_print.h"

namespace corvex {

// Fills print->rows, for print->row_bytes a row, from the sticks' angles. All
// of these make the same rows.
using MakeRowsFn = void (*)(RowScratch* scratch, FirstPrint* print);

void MakeRowsPortable(RowScratch* scratch, FirstPrint* print);

#if defined(__x86_64__)
void MakeRowsAvx2(RowScratch* scratch, FirstPrint* print);
void MakeRowsAvx512(RowScratch* scratch, FirstPrint* print);
#endif

// The fastest that this processor runs.
MakeRowsFn SelectedMakeRows();

}  // namespace corvex

#endif  // SRC_MVMATCH_ANGLE_ROWS_H_
