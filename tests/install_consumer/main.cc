// Calls the platform API by its Windows names, as ported code does.
#include <quillbox/platform.h>

#include <cstdio>

int main() {
  GUID guid;
  if (FAILED(CoCreateGuid(&guid))) return 1;
  LPOLESTR text = nullptr;
  if (FAILED(StringFromCLSID(guid, &text))) return 2;
  CLSID back;
  const HRESULT hr = CLSIDFromString(text, &back);
  CoTaskMemFree(text);
  if (FAILED(hr) || !IsEqualGUID(guid, back)) return 3;
  std::printf("consumer ok: %s\n", QuillboxVersion());
  return 0;
}
