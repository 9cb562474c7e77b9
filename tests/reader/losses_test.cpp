// Numbers that a record keeps otherwise than the text has them, as observers are told of them.
#include <gtest/gtest.h>

#include <string>

#include "support/analysis.h"

namespace tavo::tests {
namespace {

TEST(Values, ObserversAreToldWhatRecordsDoNotKeep) {
  const struct {
    const char* column;
    const char* text;
    const char* loss;  // null: none
  } rows[] = {
      {"JobNo", "65535", nullptr},
      {"JobNo", "65536 ", "number 65536"},
      {"JobNo", "00000000000000000000065535", nullptr},
      {"JobNo", "18446744073709551617", "number 18446744073709551617"},  // 1 in 64 bits
      {"JobNo", "+65537", "number +65537"},
      {"Color", "4294967296", "number 4294967296"},
      {"SymDir", "65535", nullptr},  // a real
      {"Class", "1", nullptr},       // an unknown column, which is dropped
      // Fifteen digits are always safe in 64 bits, more of them sometimes.
      {"East", "123456.789012345", nullptr},
      {"East", "-0.1234567890123456", nullptr},
      {"East", "8.0000000000000015", "digits 8.0000000000000015"},
      {"East", "9007199254740993", "digits 9007199254740993"},
      {"East", "9007199254740992", nullptr},
      {"East", "123456789012345000000000.000", nullptr},
      {"East", "000.10000000000000000000", nullptr},
      {"East", "0.12345678901234567890", "digits 0.12345678901234567890"},
      {"East", "1e-400", "digits 1e-400"},
      {"East", "0.0e9", nullptr},
      {"SymDim1", "1.23456", nullptr},
      {"SymDim1", "0.3333333", nullptr},
      {"SymDim1", "16777217", "digits 16777217"},
      {"SymDim1", "1234.5678 ", "digits 1234.5678"},
      {"SymDim1", "12x", nullptr},
  };
  for (const auto& row : rows) {
    const std::string text = inBlock("DATABASE", "POINTS (PointNo," + std::string(row.column) + ")",
                                     "1," + std::string(row.text) + ";\n");
    const Analysed seen = analyse(text, {.observed = true});
    const Analysed unseen = analyse(text);
    const std::string loss = row.loss == nullptr ? "" : "3 " + std::string(row.loss) + "\n";
    EXPECT_EQ(seen.losses, loss) << row.column << " " << row.text;
    EXPECT_EQ(seen.log, unseen.log);
    EXPECT_EQ(seen.records, unseen.records);
  }
  // The other places and types.
  EXPECT_EQ(analyse("HEADER\nVERSION 1\nEND HEADER\nDATABASE\nPOINTS (PointNo)\n1;\n"
                    "THEMINFO (PointNo,Attribute,Value)\n1,\"a\",2147483648;\n1,\"b\",125e-1;\n"
                    "1,\"c\",2147483647;\n1,\"d\",1.5;\nEND THEMINFO\nEND POINTS\nEND DATABASE\n"
                    "TIME_TAGGED_CODES\n\"C\",01-01-2024/00:00:00.0,65536,\"e\",-2147483649;\n"
                    "END TIME_TAGGED_CODES\n",
                    {.observed = true})
                .losses,
            "8 number 2147483648\n9 number 125e-1\n16 number 65536\n16 number -2147483649\n");
}

}  // namespace
}  // namespace tavo::tests
