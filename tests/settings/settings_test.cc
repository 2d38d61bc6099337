#include "settings/settings.h"

#include <gtest/gtest.h>

#include "fakes/fake_profile_file.h"
#include "settings/keys.h"

namespace kova::settings {
namespace {

class SettingsTest : public ::testing::Test {
 protected:
  fakes::FakeProfileFile file_;
  Settings settings_{"/home/owner/kova", file_, '/'};
};

TEST_F(SettingsTest, FileLiesInTheProgramFolder) {
  settings_.WriteSetting(kMain, kLocalPort, "8081");
  EXPECT_EQ("/home/owner/kova/tarvel_wap.ini", file_.lastPath);
  EXPECT_EQ("8081", settings_.ReadSetting("Main", "Local_Port"));
  EXPECT_EQ("/home/owner/kova/tarvel_wap.ini", file_.lastPath);
  // Nothing is put between or taken away.
  EXPECT_EQ("C:\\\\tarvel_wap.ini", Settings("C:\\", file_, '\\').path());
}

TEST_F(SettingsTest, UnsetReadsBlankAndEmptyReadsAs255Nuls) {
  EXPECT_EQ("blank", settings_.ReadSetting(kPager, kFrom));
  settings_.WriteSetting(kPager, kFrom, "");
  EXPECT_EQ(std::string(255, '\0'), settings_.ReadSetting(kPager, kFrom));
}

TEST_F(SettingsTest, ValueOfMoreThan254BytesIsCut) {
  settings_.WriteSetting(kMain, kImage, std::string(254, 'a') + "b");
  EXPECT_EQ(std::string(254, 'a'), settings_.ReadSetting(kMain, kImage));
}

TEST_F(SettingsTest, ReadOrCleansTheValue) {
  EXPECT_EQ("default", settings_.readOr(kOutlook, kInboxFolder, "default"));
  settings_.WriteSetting(kOutlook, kInboxFolder, "blank");
  EXPECT_EQ("default", settings_.readOr(kOutlook, kInboxFolder, "default"));
  settings_.WriteSetting(kOutlook, kInboxFolder, "");
  EXPECT_EQ("", settings_.readOr(kOutlook, kInboxFolder, "default"));
  settings_.WriteSetting(kOutlook, kInboxFolder, " /mail ");
  EXPECT_EQ("/mail", settings_.readOr(kOutlook, kInboxFolder, "default"));
}

TEST_F(SettingsTest, RowsAreNumberedWithoutPadding) {
  settings_.WriteSetting(kMain, keyOfRow(kPop3Pin, 3), "1234");
  EXPECT_EQ("1234", settings_.ReadSetting("Main", "POP3_PIN_3"));
  EXPECT_EQ("CMD_Title_0", keyOfRow(kCmdTitle, 0));
}

}  // namespace
}  // namespace kova::settings
