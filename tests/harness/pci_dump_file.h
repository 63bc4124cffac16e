// The text of a PCI configuration dump: an adapter with a PCI Express link of 4 lanes at the third
// speed, of 8 lanes and the fifth speed at most.
#pragma once

namespace vesktest {

constexpr const char* kDumpHeader = "0000:3b:00.0 Mass storage controller [vmhba2]\n";

constexpr const char* kDumpRows = "4b 1b 41 22 07 04 10 00 00 02 08 01 10 00 00 00\n"
                                  "04 00 a0 c6 00 00 00 00 00 00 00 00 00 00 00 00\n"
                                  "00 00 00 00 00 00 00 00 00 00 00 00 4b 1b 41 22\n"
                                  "00 00 00 00 40 00 00 00 00 00 00 00 ff 01 00 00\n"
                                  "01 70 03 00 08 00 00 00 05 70 80 00 00 00 00 00\n"
                                  "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
                                  "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
                                  "10 00 02 00 c1 8f 00 10 37 28 0a 00 85 30 40 00\n"
                                  "40 00 43 10 00 00 00 00 00 00 00 00 00 00 00 00\n"
                                  "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
                                  "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
                                  "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
                                  "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
                                  "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
                                  "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
                                  "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n";

}  // namespace vesktest
