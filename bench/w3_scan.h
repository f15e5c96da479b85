// Workload W3 of the peer benchmark: the metadata of the generated .doc
// files read through the property-set API, folded into the workload's
// digest; and the digest the generator's rules predict, to check it.
#pragma once

#include <cstdint>
#include <string>

namespace quillbox::bench {

struct W3Result {
  int files_read = 0;   // files whose two sets were read
  int user_props = 0;   // user-defined properties seen in all
  long long bytes = 0;  // sizes of the files
  uint32_t checksum = 0;
  std::string error;    // the first failure, if any
};

// Reads dir/doc0000.doc .. dir/doc<files-1>.doc in name order.
W3Result ScanW3(const std::string& dir, int files);

// The digest of the files PoiPeer gen-w3 writes (its rules restated).
uint32_t ExpectedW3Checksum(int files);

}  // namespace quillbox::bench
