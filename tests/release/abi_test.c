/* A host in plain C: the headers compile as C, and every exported name links.
 */
#include "cx_capdlg_lib.h"
#include "mv_fpi.h"

typedef void (*AnyFunction)(void);

int main(void) {
  const AnyFunction functions[] = {
      (AnyFunction)FG_GetFeature,      (AnyFunction)FG_GetTemplate,
      (AnyFunction)FG_TipsGetTemplate, (AnyFunction)FG_GetDevVersion,
      (AnyFunction)FG_GetDevSn,        (AnyFunction)FG_CheckPressed,
      (AnyFunction)FG_FpMatch,         (AnyFunction)DEV_CommCall,
      (AnyFunction)cx_dlg_init,        (AnyFunction)cx_dlg_uninit,
      (AnyFunction)cx_dlg_send_data,   (AnyFunction)cx_dlg_recv_data,
      (AnyFunction)cx_dlg_get_dlgtype, (AnyFunction)cx_dlg_get_timeout,
      (AnyFunction)cx_dlg_get_errinf};
  if (functions[0] == NULL || _libver_ == NULL || m_smo_data != NULL) return 1;
  return FG_FpMatch(NULL, "E", 1) == FG_ERR_ARGUMENT ? 0 : 1;
}
