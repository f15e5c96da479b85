// CoInitialize and friends: the library needs no initialisation on Linux,
// but ported code calls them and checks their answers, so each thread keeps
// its count and its model as Windows does.
#include "quillbox/objbase.h"

namespace {
thread_local int t_init_count = 0;
thread_local DWORD t_model = 0;
}  // namespace

HRESULT CoInitializeEx(LPVOID, DWORD dwCoInit) {
  const DWORD model = dwCoInit & COINIT_APARTMENTTHREADED;
  if (t_init_count > 0) {
    if (model != t_model) return RPC_E_CHANGED_MODE;
    ++t_init_count;
    return S_FALSE;
  }
  t_model = model;
  t_init_count = 1;
  return S_OK;
}

HRESULT CoInitialize(LPVOID pvReserved) {
  return CoInitializeEx(pvReserved, COINIT_APARTMENTTHREADED);
}

void CoUninitialize() {
  if (t_init_count > 0) --t_init_count;
}
