# Platform code and the public headers never include the object model; the
# build enforces it for sources, this check also covers headers no .cc uses.
file(GLOB_RECURSE platform_files ${SOURCE_DIR}/src/platform/*.h ${SOURCE_DIR}/src/platform/*.cc
     ${SOURCE_DIR}/include/quillbox/*.h)
set(bad "")
foreach(f IN LISTS platform_files)
  file(STRINGS ${f} lines REGEX "^[ \t]*#[ \t]*include[ \t]*\"(frame|typelib|storage|stream|properties|standard_sets|oledata|shell)/")
  foreach(l IN LISTS lines)
    list(APPEND bad "${f}: ${l}")
  endforeach()
endforeach()
list(LENGTH platform_files count)
if(bad)
  message(FATAL_ERROR "platform code includes the object model:\n${bad}")
endif()
message(STATUS "layering ok: ${count} platform files checked")
