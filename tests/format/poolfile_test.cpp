// SPDX-License-Identifier: MIT
// The bytes of a pool file and of the frame of each stored class, spelled out. They stand in files for good: a change here is a
// change of the format. The first byte of every record is its type: 2 an integer, 3 a double, 4 a wide text, 5 an 8-bit text, 6
// and 7 the two ends of a frame, 8 and 9 those of a section.

#include "support/printers.h"
#include "support/scratchfolder.h"
#include "support/streambuilder.h"
#include "support/units.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <memory>

namespace
{
constexpr char const *kId = "{00112233-4455-6677-8899-AABBCCDDEEFF}";
constexpr char const *kA = "{A0A1A2A3-A4A5-A6A7-A8A9-AAABACADAEAF}";
constexpr char const *kB = "{B0B1B2B3-B4B5-B6B7-B8B9-BABBBCBDBEBF}";
constexpr char const *kC = "{C0C1C2C3-C4C5-C6C7-C8C9-CACBCCCDCECF}";

// clang-format off
constexpr char const *kObject =
    "06 "                                                     // frame
    "05 0B 00 4F 4B 54 44 62 4F 62 6A 65 63 74 "              // class name "OKTDbObject"
    "02 01 00 00 00 "                                         // version 1
    "  08 02 01 00 00 00 "                                    // section 1
    "    06 "                                                 // frame of m_objectId
    "    05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "          // class name "OKTObjectId"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        02 33 22 11 00 "                                 // Data1
    "        02 55 44 77 66 "                                 // Data2, Data3
    "        02 88 99 AA BB "                                 // Data4, first half
    "        02 CC DD EE FF "                                 // second half
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "  09 "                                                   // end of section
    "07 ";                                                     // end of frame

constexpr char const *kParameter =
    "06 "                                                     // frame
    "05 0E 00 4F 4B 54 44 62 50 61 72 61 6D 65 74 65 72 "     // class name "OKTDbParameter"
    "02 02 00 00 00 "                                         // version 2
    "  06 "                                                   // frame
    "  05 0B 00 4F 4B 54 44 62 4F 62 6A 65 63 74 "            // class name "OKTDbObject"
    "  02 01 00 00 00 "                                       // version 1
    "    08 02 01 00 00 00 "                                  // section 1
    "      06 "                                               // frame of m_objectId
    "      05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "        // class name "OKTObjectId"
    "      02 01 00 00 00 "                                   // version 1
    "        08 02 01 00 00 00 "                              // section 1
    "          02 33 22 11 00 "                               // Data1
    "          02 55 44 77 66 "                               // Data2, Data3
    "          02 88 99 AA BB "                               // Data4, first half
    "          02 CC DD EE FF "                               // second half
    "        09 "                                             // end of section
    "      07 "                                               // end of frame
    "    09 "                                                 // end of section
    "  07 "                                                   // end of frame
    "  08 02 01 00 00 00 "                                    // section 1
    "    04 07 00 43 00 6F 00 76 00 65 00 72 00 20 00 42 00 " // m_strUserName "Cover B"
    "    02 06 00 00 00 "                                     // m_nParamType 6
    "    06 "                                                 // frame of varConverted
    "    05 0A 00 4F 4B 54 56 61 72 69 61 6E 74 "             // class name "OKTVariant"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        02 05 00 00 00 "                                 // kind 5
    "        03 9A 99 99 99 99 99 99 3F "                     // 0.025 metres
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "    02 02 00 00 00 "                                     // m_nListIndex 2
    "    06 "                                                 // frame of m_idCategory
    "    05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "          // class name "OKTObjectId"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        02 A3 A2 A1 A0 "                                 // Data1
    "        02 A5 A4 A7 A6 "                                 // Data2, Data3
    "        02 A8 A9 AA AB "                                 // Data4, first half
    "        02 AC AD AE AF "                                 // second half
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "    06 "                                                 // frame of m_idOwner
    "    05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "          // class name "OKTObjectId"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        02 B3 B2 B1 B0 "                                 // Data1
    "        02 B5 B4 B7 B6 "                                 // Data2, Data3
    "        02 B8 B9 BA BB "                                 // Data4, first half
    "        02 BC BD BE BF "                                 // second half
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "    02 01 00 00 00 "                                     // m_tabIdsParams.Length 1
    "    06 "                                                 // frame of m_tabIdsParams.0
    "    05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "          // class name "OKTObjectId"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        02 C3 C2 C1 C0 "                                 // Data1
    "        02 C5 C4 C7 C6 "                                 // Data2, Data3
    "        02 C8 C9 CA CB "                                 // Data4, first half
    "        02 CC CD CE CF "                                 // second half
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "    04 01 00 63 00 "                                     // m_strExpression "c"
    "  09 "                                                   // end of section
    "  08 02 02 00 00 00 "                                    // section 2
    "    04 01 00 64 00 "                                     // m_strDescription "d"
    "  09 "                                                   // end of section
    "07 ";                                                     // end of frame

constexpr char const *kCategory =
    "06 "                                                     // frame
    "05 0D 00 4F 4B 54 44 62 43 61 74 65 67 6F 72 79 "        // class name "OKTDbCategory"
    "02 01 00 00 00 "                                         // version 1
    "  06 "                                                   // frame
    "  05 0B 00 4F 4B 54 44 62 4F 62 6A 65 63 74 "            // class name "OKTDbObject"
    "  02 01 00 00 00 "                                       // version 1
    "    08 02 01 00 00 00 "                                  // section 1
    "      06 "                                               // frame of m_objectId
    "      05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "        // class name "OKTObjectId"
    "      02 01 00 00 00 "                                   // version 1
    "        08 02 01 00 00 00 "                              // section 1
    "          02 33 22 11 00 "                               // Data1
    "          02 55 44 77 66 "                               // Data2, Data3
    "          02 88 99 AA BB "                               // Data4, first half
    "          02 CC DD EE FF "                               // second half
    "        09 "                                             // end of section
    "      07 "                                               // end of frame
    "    09 "                                                 // end of section
    "  07 "                                                   // end of frame
    "  08 02 01 00 00 00 "                                    // section 1
    "    06 "                                                 // frame of m_idGroupCategory
    "    05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "          // class name "OKTObjectId"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        02 A3 A2 A1 A0 "                                 // Data1
    "        02 A5 A4 A7 A6 "                                 // Data2, Data3
    "        02 A8 A9 AA AB "                                 // Data4, first half
    "        02 AC AD AE AF "                                 // second half
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "    02 02 00 00 00 "                                     // m_tabParameters.Length 2
    "    06 "                                                 // frame of m_tabParameters.0
    "    05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "          // class name "OKTObjectId"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        02 B3 B2 B1 B0 "                                 // Data1
    "        02 B5 B4 B7 B6 "                                 // Data2, Data3
    "        02 B8 B9 BA BB "                                 // Data4, first half
    "        02 BC BD BE BF "                                 // second half
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "    06 "                                                 // frame of m_tabParameters.1
    "    05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "          // class name "OKTObjectId"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        02 C3 C2 C1 C0 "                                 // Data1
    "        02 C5 C4 C7 C6 "                                 // Data2, Data3
    "        02 C8 C9 CA CB "                                 // Data4, first half
    "        02 CC CD CE CF "                                 // second half
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "    04 03 00 41 00 6C 00 6C 00 "                         // m_strCategoryName "All"
    "  09 "                                                   // end of section
    "07 ";                                                     // end of frame

constexpr char const *kGroupCategory =
    "06 "                                                     // frame
    "05 12 00 4F 4B 54 44 62 47 72 6F 75 70 43 61 74 65 67 6F 72 " // class name "OKTDbGroupCategory"
    "79 "
    "02 01 00 00 00 "                                         // version 1
    "  06 "                                                   // frame
    "  05 0B 00 4F 4B 54 44 62 4F 62 6A 65 63 74 "            // class name "OKTDbObject"
    "  02 01 00 00 00 "                                       // version 1
    "    08 02 01 00 00 00 "                                  // section 1
    "      06 "                                               // frame of m_objectId
    "      05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "        // class name "OKTObjectId"
    "      02 01 00 00 00 "                                   // version 1
    "        08 02 01 00 00 00 "                              // section 1
    "          02 33 22 11 00 "                               // Data1
    "          02 55 44 77 66 "                               // Data2, Data3
    "          02 88 99 AA BB "                               // Data4, first half
    "          02 CC DD EE FF "                               // second half
    "        09 "                                             // end of section
    "      07 "                                               // end of frame
    "    09 "                                                 // end of section
    "  07 "                                                   // end of frame
    "  08 02 01 00 00 00 "                                    // section 1
    "    02 01 00 00 00 "                                     // m_tabCategory.Length 1
    "    06 "                                                 // frame of m_tabCategory.0
    "    05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "          // class name "OKTObjectId"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        02 A3 A2 A1 A0 "                                 // Data1
    "        02 A5 A4 A7 A6 "                                 // Data2, Data3
    "        02 A8 A9 AA AB "                                 // Data4, first half
    "        02 AC AD AE AF "                                 // second half
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "  09 "                                                   // end of section
    "07 ";                                                     // end of frame

constexpr char const *kRelation =
    "06 "                                                     // frame
    "05 0D 00 4F 4B 54 44 62 52 65 6C 61 74 69 6F 6E "        // class name "OKTDbRelation"
    "02 01 00 00 00 "                                         // version 1
    "  06 "                                                   // frame
    "  05 0B 00 4F 4B 54 44 62 4F 62 6A 65 63 74 "            // class name "OKTDbObject"
    "  02 01 00 00 00 "                                       // version 1
    "    08 02 01 00 00 00 "                                  // section 1
    "      06 "                                               // frame of m_objectId
    "      05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "        // class name "OKTObjectId"
    "      02 01 00 00 00 "                                   // version 1
    "        08 02 01 00 00 00 "                              // section 1
    "          02 33 22 11 00 "                               // Data1
    "          02 55 44 77 66 "                               // Data2, Data3
    "          02 88 99 AA BB "                               // Data4, first half
    "          02 CC DD EE FF "                               // second half
    "        09 "                                             // end of section
    "      07 "                                               // end of frame
    "    09 "                                                 // end of section
    "  07 "                                                   // end of frame
    "  08 02 01 00 00 00 "                                    // section 1
    "  09 "                                                   // end of section
    "07 ";                                                     // end of frame

constexpr char const *kParamRelation =
    "06 "                                                     // frame
    "05 12 00 4F 4B 54 44 62 50 61 72 61 6D 52 65 6C 61 74 69 6F " // class name "OKTDbParamRelation"
    "6E "
    "02 01 00 00 00 "                                         // version 1
    "  06 "                                                   // frame
    "  05 0D 00 4F 4B 54 44 62 52 65 6C 61 74 69 6F 6E "      // class name "OKTDbRelation"
    "  02 01 00 00 00 "                                       // version 1
    "    06 "                                                 // frame
    "    05 0B 00 4F 4B 54 44 62 4F 62 6A 65 63 74 "          // class name "OKTDbObject"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        06 "                                             // frame of m_objectId
    "        05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "      // class name "OKTObjectId"
    "        02 01 00 00 00 "                                 // version 1
    "          08 02 01 00 00 00 "                            // section 1
    "            02 33 22 11 00 "                             // Data1
    "            02 55 44 77 66 "                             // Data2, Data3
    "            02 88 99 AA BB "                             // Data4, first half
    "            02 CC DD EE FF "                             // second half
    "          09 "                                           // end of section
    "        07 "                                             // end of frame
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "    08 02 01 00 00 00 "                                  // section 1
    "    09 "                                                 // end of section
    "  07 "                                                   // end of frame
    "  08 02 01 00 00 00 "                                    // section 1
    "    02 01 00 00 00 "                                     // m_tabParameters.Length 1
    "    06 "                                                 // frame of m_tabParameters.0
    "    05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "          // class name "OKTObjectId"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        02 A3 A2 A1 A0 "                                 // Data1
    "        02 A5 A4 A7 A6 "                                 // Data2, Data3
    "        02 A8 A9 AA AB "                                 // Data4, first half
    "        02 AC AD AE AF "                                 // second half
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "  09 "                                                   // end of section
    "07 ";                                                     // end of frame

constexpr char const *kPicture =
    "06 "                                                     // frame
    "05 0C 00 4F 4B 54 44 62 50 69 63 74 75 72 65 "           // class name "OKTDbPicture"
    "02 03 00 00 00 "                                         // version 3
    "  06 "                                                   // frame
    "  05 0B 00 4F 4B 54 44 62 4F 62 6A 65 63 74 "            // class name "OKTDbObject"
    "  02 01 00 00 00 "                                       // version 1
    "    08 02 01 00 00 00 "                                  // section 1
    "      06 "                                               // frame of m_objectId
    "      05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "        // class name "OKTObjectId"
    "      02 01 00 00 00 "                                   // version 1
    "        08 02 01 00 00 00 "                              // section 1
    "          02 33 22 11 00 "                               // Data1
    "          02 55 44 77 66 "                               // Data2, Data3
    "          02 88 99 AA BB "                               // Data4, first half
    "          02 CC DD EE FF "                               // second half
    "        09 "                                             // end of section
    "      07 "                                               // end of frame
    "    09 "                                                 // end of section
    "  07 "                                                   // end of frame
    "  08 02 01 00 00 00 "                                    // section 1
    "    05 06 00 41 51 49 44 42 41 "                         // strBase64 "AQIDBA": the bytes 1, 2, 3, 4
    "  09 "                                                   // end of section
    "  08 02 02 00 00 00 "                                    // section 2
    "    02 00 00 00 00 "                                     // no further chunk
    "  09 "                                                   // end of section
    "  08 02 03 00 00 00 "                                    // section 3
    "    06 "                                                 // frame of m_pntCamera
    "    05 08 00 4F 4B 54 47 65 58 59 5A "                   // class name "OKTGeXYZ"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        03 00 00 00 00 00 00 F0 3F "                     // x = 1
    "        03 00 00 00 00 00 00 00 40 "                     // y = 2
    "        03 00 00 00 00 00 00 08 40 "                     // z = 3
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "    06 "                                                 // frame of m_pntTarget
    "    05 08 00 4F 4B 54 47 65 58 59 5A "                   // class name "OKTGeXYZ"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        03 00 00 00 00 00 00 10 40 "                     // x = 4
    "        03 00 00 00 00 00 00 14 40 "                     // y = 5
    "        03 00 00 00 00 00 00 18 40 "                     // z = 6
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "    06 "                                                 // frame of m_vecUp
    "    05 08 00 4F 4B 54 47 65 58 59 5A "                   // class name "OKTGeXYZ"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        03 00 00 00 00 00 00 00 00 "                     // x = 0
    "        03 00 00 00 00 00 00 00 00 "                     // y = 0
    "        03 00 00 00 00 00 00 F0 3F "                     // z = 1
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "  09 "                                                   // end of section
    "07 ";                                                     // end of frame

constexpr char const *kPool =
    "02 FE 01 00 00 "                                         // length record: the header block has 510 bytes
    "06 "                                                     // frame
    "05 09 00 4F 4B 54 44 62 50 6F 6F 6C "                    // class name "OKTDbPool"
    "02 06 00 00 00 "                                         // version 6
    "  08 02 01 00 00 00 "                                    // section 1
    "    06 "                                                 // frame of m_objectId
    "    05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "          // class name "OKTObjectId"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        02 04 03 02 01 "                                 // Data1
    "        02 06 05 08 07 "                                 // Data2, Data3
    "        02 09 0A 0B 0C "                                 // Data4, first half
    "        02 0D 0E 0F 10 "                                 // second half
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "    06 "                                                 // frame of m_constructId: none
    "    05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "          // class name "OKTObjectId"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        02 00 00 00 00 "                                 // Data1
    "        02 00 00 00 00 "                                 // Data2, Data3
    "        02 00 00 00 00 "                                 // Data4, first half
    "        02 00 00 00 00 "                                 // second half
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "    02 FF FF FF FF "                                     // its position
    "    02 FF FF FF FF "                                     // its size
    "    06 "                                                 // frame of the second id, where old files have their picture
    "    05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "          // class name "OKTObjectId"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        02 00 00 00 00 "                                 // Data1
    "        02 00 00 00 00 "                                 // Data2, Data3
    "        02 00 00 00 00 "                                 // Data4, first half
    "        02 00 00 00 00 "                                 // second half
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "    02 FF FF FF FF "                                     // its position
    "    02 FF FF FF FF "                                     // its size
    "    06 "                                                 // frame of m_indexId: none
    "    05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "          // class name "OKTObjectId"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        02 00 00 00 00 "                                 // Data1
    "        02 00 00 00 00 "                                 // Data2, Data3
    "        02 00 00 00 00 "                                 // Data4, first half
    "        02 00 00 00 00 "                                 // second half
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "    02 FF FF FF FF "                                     // its position
    "    02 FF FF FF FF "                                     // its size
    "    04 04 00 70 00 6F 00 6F 00 6C 00 "                   // m_strPoolName "pool"
    "  09 "                                                   // end of section
    "  08 02 02 00 00 00 "                                    // section 2
    "    03 00 00 00 00 00 00 F0 3F "                         // dfMetricsFactor 1, as in every file
    "  09 "                                                   // end of section
    "  08 02 03 00 00 00 "                                    // section 3
    "    06 "                                                 // frame of m_ppActionsId: none
    "    05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "          // class name "OKTObjectId"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        02 00 00 00 00 "                                 // Data1
    "        02 00 00 00 00 "                                 // Data2, Data3
    "        02 00 00 00 00 "                                 // Data4, first half
    "        02 00 00 00 00 "                                 // second half
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "  09 "                                                   // end of section
    "  08 02 04 00 00 00 "                                    // section 4
    "    06 "                                                 // frame of m_sketchId: none
    "    05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "          // class name "OKTObjectId"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        02 00 00 00 00 "                                 // Data1
    "        02 00 00 00 00 "                                 // Data2, Data3
    "        02 00 00 00 00 "                                 // Data4, first half
    "        02 00 00 00 00 "                                 // second half
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "  09 "                                                   // end of section
    "  08 02 05 00 00 00 "                                    // section 5
    "    02 01 00 00 00 "                                     // m_tabPictures.Length 1
    "    06 "                                                 // frame of m_tabPictures.0
    "    05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "          // class name "OKTObjectId"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        02 02 00 00 00 "                                 // Data1
    "        02 00 00 00 00 "                                 // Data2, Data3
    "        02 00 00 00 00 "                                 // Data4, first half
    "        02 00 00 00 BB "                                 // second half
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "    02 1D 01 00 00 "                                     // its position in the objects block: 285
    "    02 21 01 00 00 "                                     // its size: 289
    "  09 "                                                   // end of section
    "  08 02 06 00 00 00 "                                    // section 6
    "    06 "                                                 // frame of m_radialReinfId: none
    "    05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "          // class name "OKTObjectId"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        02 00 00 00 00 "                                 // Data1
    "        02 00 00 00 00 "                                 // Data2, Data3
    "        02 00 00 00 00 "                                 // Data4, first half
    "        02 00 00 00 00 "                                 // second half
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "  09 "                                                   // end of section
    "07 "                                                     // end of frame
    "06 "                                                     // frame
    "05 0E 00 4F 4B 54 44 62 50 61 72 61 6D 65 74 65 72 "     // class name "OKTDbParameter"
    "02 02 00 00 00 "                                         // version 2
    "  06 "                                                   // frame
    "  05 0B 00 4F 4B 54 44 62 4F 62 6A 65 63 74 "            // class name "OKTDbObject"
    "  02 01 00 00 00 "                                       // version 1
    "    08 02 01 00 00 00 "                                  // section 1
    "      06 "                                               // frame of m_objectId
    "      05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "        // class name "OKTObjectId"
    "      02 01 00 00 00 "                                   // version 1
    "        08 02 01 00 00 00 "                              // section 1
    "          02 01 00 00 00 "                               // Data1
    "          02 00 00 00 00 "                               // Data2, Data3
    "          02 00 00 00 00 "                               // Data4, first half
    "          02 00 00 00 AA "                               // second half
    "        09 "                                             // end of section
    "      07 "                                               // end of frame
    "    09 "                                                 // end of section
    "  07 "                                                   // end of frame
    "  08 02 01 00 00 00 "                                    // section 1
    "    04 05 00 43 00 6F 00 76 00 65 00 72 00 "             // m_strUserName "Cover"
    "    02 06 00 00 00 "                                     // m_nParamType 6
    "    06 "                                                 // frame of varConverted
    "    05 0A 00 4F 4B 54 56 61 72 69 61 6E 74 "             // class name "OKTVariant"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        02 05 00 00 00 "                                 // kind 5
    "        03 9A 99 99 99 99 99 99 3F "                     // 0.025 metres, whatever the drawing unit
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "    02 00 00 00 00 "                                     // m_nListIndex 0
    "    06 "                                                 // frame of m_idCategory
    "    05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "          // class name "OKTObjectId"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        02 00 00 00 00 "                                 // Data1
    "        02 00 00 00 00 "                                 // Data2, Data3
    "        02 00 00 00 00 "                                 // Data4, first half
    "        02 00 00 00 00 "                                 // second half
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "    06 "                                                 // frame of m_idOwner
    "    05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "          // class name "OKTObjectId"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        02 04 03 02 01 "                                 // Data1
    "        02 06 05 08 07 "                                 // Data2, Data3
    "        02 09 0A 0B 0C "                                 // Data4, first half
    "        02 0D 0E 0F 10 "                                 // second half
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "    02 00 00 00 00 "                                     // m_tabIdsParams.Length 0
    "    04 00 00 "                                           // m_strExpression ""
    "  09 "                                                   // end of section
    "  08 02 02 00 00 00 "                                    // section 2
    "    04 00 00 "                                           // m_strDescription ""
    "  09 "                                                   // end of section
    "07 "                                                     // end of frame
    "06 "                                                     // frame
    "05 0C 00 4F 4B 54 44 62 50 69 63 74 75 72 65 "           // class name "OKTDbPicture"
    "02 03 00 00 00 "                                         // version 3
    "  06 "                                                   // frame
    "  05 0B 00 4F 4B 54 44 62 4F 62 6A 65 63 74 "            // class name "OKTDbObject"
    "  02 01 00 00 00 "                                       // version 1
    "    08 02 01 00 00 00 "                                  // section 1
    "      06 "                                               // frame of m_objectId
    "      05 0B 00 4F 4B 54 4F 62 6A 65 63 74 49 64 "        // class name "OKTObjectId"
    "      02 01 00 00 00 "                                   // version 1
    "        08 02 01 00 00 00 "                              // section 1
    "          02 02 00 00 00 "                               // Data1
    "          02 00 00 00 00 "                               // Data2, Data3
    "          02 00 00 00 00 "                               // Data4, first half
    "          02 00 00 00 BB "                               // second half
    "        09 "                                             // end of section
    "      07 "                                               // end of frame
    "    09 "                                                 // end of section
    "  07 "                                                   // end of frame
    "  08 02 01 00 00 00 "                                    // section 1
    "    05 06 00 41 51 49 44 42 41 "                         // strBase64 "AQIDBA": the bytes 1, 2, 3, 4
    "  09 "                                                   // end of section
    "  08 02 02 00 00 00 "                                    // section 2
    "    02 00 00 00 00 "                                     // no further chunk
    "  09 "                                                   // end of section
    "  08 02 03 00 00 00 "                                    // section 3
    "    06 "                                                 // frame of m_pntCamera
    "    05 08 00 4F 4B 54 47 65 58 59 5A "                   // class name "OKTGeXYZ"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        03 00 00 00 00 00 00 F0 3F "                     // x = 1
    "        03 00 00 00 00 00 00 00 40 "                     // y = 2
    "        03 00 00 00 00 00 00 08 40 "                     // z = 3
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "    06 "                                                 // frame of m_pntTarget
    "    05 08 00 4F 4B 54 47 65 58 59 5A "                   // class name "OKTGeXYZ"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        03 00 00 00 00 00 00 10 40 "                     // x = 4
    "        03 00 00 00 00 00 00 14 40 "                     // y = 5
    "        03 00 00 00 00 00 00 18 40 "                     // z = 6
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "    06 "                                                 // frame of m_vecUp
    "    05 08 00 4F 4B 54 47 65 58 59 5A "                   // class name "OKTGeXYZ"
    "    02 01 00 00 00 "                                     // version 1
    "      08 02 01 00 00 00 "                                // section 1
    "        03 00 00 00 00 00 00 00 00 "                     // x = 0
    "        03 00 00 00 00 00 00 00 00 "                     // y = 0
    "        03 00 00 00 00 00 00 F0 3F "                     // z = 1
    "      09 "                                               // end of section
    "    07 "                                                 // end of frame
    "  09 "                                                   // end of section
    "07 ";                                                     // end of frame
// clang-format on

CByteArray written(OKTDbObject const &object)
{
    OKTMemoryFiler filer;
    EXPECT_EQ(object.xmlOut(&filer), eFilerOk);
    return filer.takeBytes();
}

/// The bytes of the object are these, and a new object that reads them writes them again.
void expectFrame(OKTDbObject &object, char const *hex)
{
    EXPECT_EQ(written(object), fromHex(hex));
    std::unique_ptr<OKTDbObject> const back(object.createObject());
    OKTMemoryFiler filer;
    filer.loadFiler(fromHex(hex));
    EXPECT_EQ(back->xmlIn(&filer), eFilerOk);
    EXPECT_EQ(filer.GetFilerPosition(), filer.GetFilerLength());
    EXPECT_EQ(back->objectId(), idOf(kId));
    EXPECT_EQ(written(*back), fromHex(hex));
}

TEST(PoolFileFormatTest, Frame_OfAnObject)
{
    std::unique_ptr<OKTDbObject> const object(OKTDbObject::desc()->CreateObject());
    object->setObjectId(idOf(kId));
    expectFrame(*object, kObject);
    EXPECT_EQ(fromHex(kObject).GetSize(), 76);
}

TEST(PoolFileFormatTest, Frame_OfAParameter)
{
    OKTDbPool pool;
    pool.setMetricsFactor(1000.0); // millimetres
    OKTDbParameter parameter(6, idOf(kB, &pool));
    parameter.setObjectId(idOf(kId));
    parameter.setValue(25.0, 2);
    parameter.setUserName(u"Cover", true);
    parameter.setCategory(idOf(kA));
    IdArray others;
    others.append(idOf(kC));
    parameter.setTabParams(others);
    parameter.setExpression(u"c");
    parameter.setDescription(u"d");
    expectFrame(parameter, kParameter);
}

TEST(PoolFileFormatTest, Frame_OfAGroupParameter_IsThatOfAParameter_Quirk55)
{
    OKTDbGroupParameter parameter;
    parameter.setObjectId(idOf(kId));
    parameter.setType(6);
    parameter.OKTDbParameter::setValue(0.025, 2);
    parameter.setUserName(u"Cover B", false);
    parameter.setCategory(idOf(kA));
    parameter.setOwnerId(idOf(kB));
    IdArray others;
    others.append(idOf(kC));
    parameter.setTabParams(others);
    parameter.setExpression(u"c");
    parameter.setDescription(u"d");
    expectFrame(parameter, kParameter);
}

TEST(PoolFileFormatTest, Frame_OfACategory)
{
    OKTDbCategory category;
    category.setObjectId(idOf(kId));
    category.setGroupCategory(idOf(kA));
    category.appendParameter(idOf(kB));
    category.appendParameter(idOf(kC));
    category.setCategoryName(u"All");
    expectFrame(category, kCategory);
}

TEST(PoolFileFormatTest, Frame_OfAGroupCategory)
{
    OKTDbGroupCategory group;
    group.setObjectId(idOf(kId));
    group.appendCategory(idOf(kA));
    expectFrame(group, kGroupCategory);
}

TEST(PoolFileFormatTest, Frame_OfARelation)
{
    OKTDbRelation relation;
    relation.setObjectId(idOf(kId));
    expectFrame(relation, kRelation);
}

TEST(PoolFileFormatTest, Frame_OfAParamRelation)
{
    OKTDbParamRelation relation;
    relation.setObjectId(idOf(kId));
    relation.appendParameter(idOf(kA));
    expectFrame(relation, kParamRelation);
}

TEST(PoolFileFormatTest, Frame_OfAPicture)
{
    OKTDbPicture picture;
    picture.setObjectId(idOf(kId));
    picture.setPictureData(bytesOf({1, 2, 3, 4}));
    picture.setCameraData({1, 2, 3}, {4, 5, 6}, {0, 0, 1});
    expectFrame(picture, kPicture);
}

/// The bytes of a variant's value within the frame of a parameter without name and ids.
CByteArray valueBytes(OKTDbParameter const &parameter)
{
    CByteArray const bytes = written(parameter);
    ParameterFields empty;
    empty.value = {};
    StreamBuilder const rest = parameterFrame(empty);
    // The frame of the value stands behind the frame of the object, an empty text and the type.
    int const ahead =
        StreamBuilder().beginClass("OKTDbParameter", 2).objectBase("").beginMembers(1).wideText(u"").integer(0).size();
    return stretch(bytes, ahead, bytes.GetSize() - rest.size());
}

TEST(PoolFileFormatTest, Value_OfEachKind)
{
    struct
    {
        VARTYPE kind;
        char const *value;
    } const rows[] = {
        {VT_I2, "02 02 00 00 00  01 FE FF"},
        {VT_I4, "02 03 00 00 00  02 FE FF FF FF"},
        {VT_R4, "02 04 00 00 00  03 00 00 00 00 00 00 F8 3F"}, // 1.5 widened
        {VT_R8, "02 05 00 00 00  03 00 00 00 00 00 00 F8 3F"},
        {VT_BSTR, "02 08 00 00 00  04 02 00 D8 00 31 00"}, // U+00D8, "1"
        {VT_BOOL, "02 0B 00 00 00  02 FF FF FF FF"},       // -1 in 32 bits
    };
    for (auto const &row : rows)
    {
        tagVARIANT value = {};
        value.vt = row.kind;
        switch (row.kind)
        {
        case VT_I2: value.iVal = -2; break;
        case VT_I4: value.lVal = -2; break;
        case VT_R4: value.fltVal = 1.5f; break;
        case VT_R8: value.dblVal = 1.5; break;
        case VT_BSTR: value.bstrVal = SysAllocString(u"\u00D81"); break;
        default: value.boolVal = VARIANT_TRUE; break;
        }
        OKTDbParameter parameter;
        parameter.setValue(value);
        VariantClear(&value);
        std::string const frame =
            std::string("06 05 0A 00 4F 4B 54 56 61 72 69 61 6E 74 02 01 00 00 00 08 02 01 00 00 00 ") + row.value + " 09 07";
        EXPECT_EQ(valueBytes(parameter), fromHex(frame)) << row.kind;
    }
}

TEST(PoolFileFormatTest, WholeFile_IsReadAndWrittenAgain)
{
    ScratchFolder const folder;
    CByteArray const file = fromHex(kPool);
    CString const path = folder.put("pool.okt", file);
    OKTDbPool pool;
    pool.setMetricsFactor(1000.0);

    ASSERT_TRUE(pool.readFile(path));

    EXPECT_EQ(pool.poolName(), u"pool");
    EXPECT_EQ(textOf(pool.objectId()), "{01020304-0506-0708-090A-0B0C0D0E0F10}");
    EXPECT_EQ(pool.metricsFactor(), 1000.0);
    ASSERT_EQ(pool.objectCount(), 2);
    auto const *const cover = OKTDbParameter::cast(pool.objectAt(0));
    ASSERT_NE(cover, nullptr);
    EXPECT_EQ(cover->UserName(), u"Cover");
    EXPECT_EQ(cover->Value().dblVal, 25.0);
    auto *const picture = OKTDbPicture::cast(pool.objectAt(1));
    ASSERT_NE(picture, nullptr);
    CByteArray data;
    picture->getPictureData(data);
    EXPECT_EQ(data, bytesOf({1, 2, 3, 4}));
    ASSERT_EQ(pool.picturesId().getSize(), 1);
    EXPECT_EQ(pool.picturesId().at(0), picture->objectId());

    CString const again = folder.path("again.okt");
    ASSERT_TRUE(pool.writeFile(again));
    EXPECT_EQ(contentsOf(again), file);
}

TEST(PoolFileFormatTest, WholeFile_PlacesOfTheHeader_PointAtThePicture)
{
    ScratchFolder const folder;
    CByteArray const file = fromHex(kPool);
    CString const path = folder.put("pool.okt", file);
    OKTDbPool pool;
    InfoMap info;
    ASSERT_TRUE(pool.readFileHeader(path, info));
    OKTDbPool::_ObjectInfo const place = info[pool.picturesId().at(0)];
    EXPECT_EQ(place.nObjectPosition, 5 + 510 + 285);
    EXPECT_EQ(place.nObjectSize, 289);
    EXPECT_EQ(place.nObjectPosition + place.nObjectSize, file.GetSize());
    EXPECT_EQ(file.GetAt(place.nObjectPosition), 6);
    ASSERT_TRUE(pool.readFilePicture(path));
    EXPECT_EQ(pool.objectCount(), 1);
}
} // namespace
