// A prompt program of one's own, linked with the channel and not the driver.
#include <cx_capdlg_lib.h>

#include <cstdio>

int main() { return printf("%d\n", cx_dlg_get_timeout()) < 0; }
