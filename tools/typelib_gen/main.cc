// quillbox_typelib_gen idl|header [output]: writes the type library's IDL or
// its C++ header, to the output file when one is given, else to stdout.
#include <cstdio>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <string>

#include "typelib/header_writer.h"
#include "typelib/idl_writer.h"

namespace {

int Usage() {
  std::fputs("usage: quillbox_typelib_gen idl|header [output-file]\n", stderr);
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || argc > 3) return Usage();
  std::string text;
  try {
    const auto& library = quillbox::typelib::QuillboxLibrary();
    if (std::strcmp(argv[1], "idl") == 0) {
      text = quillbox::typelib::WriteIdl(library);
    } else if (std::strcmp(argv[1], "header") == 0) {
      text = quillbox::typelib::WriteHeader(library);
    } else {
      return Usage();
    }
  } catch (const std::exception& e) {
    std::fprintf(stderr, "quillbox_typelib_gen: %s\n", e.what());
    return 1;
  }
  if (argc == 2) {
    std::cout << text;
    return std::cout.good() ? 0 : 1;
  }
  std::ofstream out(argv[2], std::ios::binary | std::ios::trunc);
  out << text;
  out.close();
  if (!out) {
    std::fprintf(stderr, "quillbox_typelib_gen: cannot write %s\n", argv[2]);
    return 1;
  }
  return 0;
}
