/* The public header is plain C; its layout checks hold there too. */
#include "cx_capdlg_lib.h"

int32_t ReceiveFromC(smo_data_t* item);

int32_t ReceiveFromC(smo_data_t* item) { return cx_dlg_recv_data(item, NULL); }
