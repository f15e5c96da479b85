# Compiler settings shared by every target of our own: strict warnings, and the
# sanitizer build when asked for.
add_library(quillbox_warnings INTERFACE)
target_compile_options(quillbox_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Werror
  -Wno-missing-field-initializers)

if(QUILLBOX_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
