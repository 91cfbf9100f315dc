#include "Vellomir/Sending/AttachmentName.h"

#include <gmock/gmock.h>

namespace vellomir {
namespace {

TEST(AttachmentName, PlainNameStaysAsItIs) {
    EXPECT_EQ(attachmentWithName("My App-2 (1).ipa"), "attachment; filename=\"My App-2 (1).ipa\"");
}

TEST(AttachmentName, OtherLettersAreEncoded) {
    EXPECT_EQ(attachmentWithName("Bäume.ipa"),
              "attachment; filename=\"B_ume.ipa\"; filename*=UTF-8''B%C3%A4ume.ipa");
    EXPECT_EQ(attachmentWithName("日本 2.ipa"),
              "attachment; filename=\"__ 2.ipa\"; filename*=UTF-8''%E6%97%A5%E6%9C%AC%202.ipa");
}

TEST(AttachmentName, QuotationMarksAndPercentSignsAreEncoded) {
    EXPECT_EQ(attachmentWithName("a\"b%41.ipa"),
              "attachment; filename=\"a_b_41.ipa\"; filename*=UTF-8''a%22b%2541.ipa");
}

TEST(AttachmentName, CannotBecomeAPathOrAnotherField) {
    EXPECT_EQ(attachmentWithName("a/b\\c\r\nX: y\x7f"), "attachment; filename=\"a_b_c__X: y_\"");
    EXPECT_EQ(attachmentWithName(".hidden"), "attachment; filename=\"_.hidden\"");
    EXPECT_EQ(attachmentWithName(".."), "attachment; filename=\"_..\"");
    EXPECT_EQ(attachmentWithName(""), "attachment; filename=\"_\"");
}

TEST(AttachmentName, BytesThatAreNoTextBecomeUnderscores) {
    EXPECT_EQ(attachmentWithName("a\xff\xc3.ipa"), "attachment; filename=\"a__.ipa\"");
}

} // namespace
} // namespace vellomir
