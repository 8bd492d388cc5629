// The byte layouts of the menu's two files: the name record and the password record.
#include <gtest/gtest.h>

#include <string>

#include "storage/menu_files.h"

namespace bm::storage {
namespace {

TEST(MenuFiles, TheNameRecordSplitsAtItsFirstAtWithinFortyBytes) {
    const std::string record = nameRecord("Wenna", "'s Picture Show");
    EXPECT_EQ(record, "Wenna@'s Picture Show                   ");
    auto name = parseNameRecord(record);
    ASSERT_TRUE(name);
    EXPECT_EQ(name->firstName, "Wenna");
    EXPECT_EQ(name->showTitle, "Wenna's Picture Show");

    // The first "@" splits; a later one belongs to the title. A short file reads as padded.
    name = parseNameRecord("Al@ @home");
    ASSERT_TRUE(name);
    EXPECT_EQ(name->firstName, "Al");
    EXPECT_EQ(name->showTitle, "Al@home");
    // A short file's record comes filled up with zero bytes.
    name = parseNameRecord(std::string("Wenna@'s") + std::string(32, '\0'));
    ASSERT_TRUE(name);
    EXPECT_EQ(name->showTitle, "Wenna's");
    // Only the 40 bytes of record 1 count: an "@" beyond them is not seen.
    EXPECT_FALSE(parseNameRecord(std::string(40, 'x') + "@"));
    EXPECT_FALSE(parseNameRecord(""));
    name = parseNameRecord("@");
    ASSERT_TRUE(name);
    EXPECT_EQ(name->firstName, "");
    EXPECT_EQ(name->showTitle, "");
    // A record written for a long name is cut to 40 bytes.
    EXPECT_EQ(nameRecord(std::string(50, 'n'), "'s").size(), kNameRecordLength);
}

TEST(MenuFiles, ThePasswordLivesBlankPaddedInFieldFourOfAZeroRecord) {
    const std::string record = passwordRecord("abc");
    ASSERT_EQ(record.size(), kPasswordRecordLength);
    EXPECT_EQ(record, std::string(18, '\0') + "abc       " + std::string(20, '\0'));
    EXPECT_EQ(parsePasswordRecord(record), "abc");
    EXPECT_EQ(parsePasswordRecord(passwordRecord("0123 56789")), "0123 56789");
    EXPECT_EQ(passwordRecord("0123456789AB").substr(18, 10), "0123456789");

    // An empty or new file reads as zero bytes: no password.
    EXPECT_EQ(parsePasswordRecord(std::string(48, '\0')), "");
    EXPECT_EQ(parsePasswordRecord(""), "");
    // Other fields do not matter; a short file ending inside field 4 gives what is there.
    EXPECT_EQ(parsePasswordRecord(std::string(18, 'x') + "  key     " + std::string(20, 'y')),
              "key");
    EXPECT_EQ(parsePasswordRecord(std::string(18, ' ') + "pw"), "pw");
}

}  // namespace
}  // namespace bm::storage
