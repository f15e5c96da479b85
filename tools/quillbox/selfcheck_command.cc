// selfcheck: exercises the loaded library end to end and says what works.
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "commands.h"
#include "quillbox/platform.h"

namespace quillbox::tool {
namespace {

struct Check {
  const char* name;
  std::function<bool()> run;
};

bool GuidRoundTrip() {
  GUID g;
  if (FAILED(CoCreateGuid(&g))) return false;
  LPOLESTR text = nullptr;
  if (FAILED(StringFromCLSID(g, &text))) return false;
  CLSID back;
  const bool ok = SUCCEEDED(CLSIDFromString(text, &back)) && back == g;
  CoTaskMemFree(text);
  return ok && (g.Data3 >> 12) == 4;
}

bool ErrorInfoRoundTrip() {
  ComPtr<ICreateErrorInfo> create;
  if (FAILED(CreateErrorInfo(create.put()))) return false;
  create->SetDescription(const_cast<LPOLESTR>(u"self-check"));
  ComPtr<IErrorInfo> info = create.as<IErrorInfo>();
  if (!info || FAILED(SetErrorInfo(0, info.get()))) return false;
  ComPtr<IErrorInfo> got;
  if (GetErrorInfo(0, got.put()) != S_OK) return false;
  BSTR text = nullptr;
  got->GetDescription(&text);
  const bool ok = text && std::u16string(text) == u"self-check";
  SysFreeString(text);
  ComPtr<IErrorInfo> again;
  return ok && GetErrorInfo(0, again.put()) == S_FALSE;
}

bool UnknownClassRefused() {
  const CLSID unknown = {0x0BADC0DE, 0x1, 0x2, {3, 4, 5, 6, 7, 8, 9, 10}};
  ComPtr<IUnknown> object;
  return CoCreateInstance(unknown, nullptr, CLSCTX_INPROC_SERVER, IID_IUnknown,
                          object.put_void()) == REGDB_E_CLASSNOTREG;
}

}  // namespace

void AddSelfCheckCommand(CLI::App& app) {
  app.add_subcommand("selfcheck", "Check that the library loads and its core services work")
      ->callback([] {
        const std::vector<Check> checks = {
            {"GUID text round trip", GuidRoundTrip},
            {"thread error information", ErrorInfoRoundTrip},
            {"unknown class refused", UnknownClassRefused},
            {"module unloadable when idle", [] { return DllCanUnloadNow() == S_OK; }},
        };
        int failed = 0;
        for (const auto& c : checks) {
          const bool ok = c.run();
          failed += ok ? 0 : 1;
          std::printf("%-32s %s\n", c.name, ok ? "ok" : "FAILED");
        }
        std::printf("quillbox %s: %zu checks, %d failed\n", QuillboxVersion(), checks.size(), failed);
        if (failed) SetExitCode(1);
      });
}

}  // namespace quillbox::tool
