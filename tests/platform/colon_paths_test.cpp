#include "vesk/platform/colon_paths"

#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace {

// Puts the host settings back after each test, whatever it changed.
class ColonPaths : public ::testing::Test {
 protected:
  void SetUp() override { Vesk::ResetColonPathVolumes(); }
  void TearDown() override { Vesk::ResetColonPathVolumes(); }

  static std::string Convert(const std::string& posix) {
    return Vesk::GetColonPathService().ToColonPath(posix);
  }
};

TEST_F(ColonPaths, OnTheRootVolume) {
  const std::pair<const char*, const char*> rows[] = {
      {"/usr/a", "Root:usr:a"}, {"/", "Root:"},           {"", "Root:"},         {"/usr/", "Root:usr:"},
      {"//usr//a", "Root:usr:a"}, {"/a/./b/../c", "Root:a:c"}, {"/../../x", "Root:x"}, {"/a/..", "Root:"},
      {"/a:b/c", "Root:a/b:c"}, {"/a b/caf\xC3\xA9", "Root:a b:caf\xC3\xA9"}, {"rel/x", "Root:rel:x"},
      {"/a\xFF", "Root:a\xFF"}};
  for (const auto& [posix, colon] : rows) EXPECT_EQ(Convert(posix), colon) << "\"" << posix << "\"";
}

TEST_F(ColonPaths, RootVolumeNameIsAHostSetting) {
  EXPECT_EQ(Vesk::GetColonPathRootVolume(), Vesk::kDefaultColonPathRootVolume);
  Vesk::SetColonPathRootVolume("System Disk");
  EXPECT_EQ(Convert("/usr/a"), "System Disk:usr:a");
  Vesk::SetColonPathVolume("/", "Other");
  EXPECT_EQ(Vesk::GetColonPathRootVolume(), "Other");
  Vesk::SetColonPathVolume("/", "");
  EXPECT_EQ(Vesk::GetColonPathRootVolume(), "Root");
}

TEST_F(ColonPaths, DeclaredVolumesTakeTheLongestMountPoint) {
  Vesk::SetColonPathVolume("/media/usb", "Stick");
  Vesk::SetColonPathVolume("/media/usb/inner/", "Inner");
  Vesk::SetColonPathVolume("/srv", "Data");
  const std::pair<const char*, const char*> rows[] = {
      {"/media/usb/a.txt", "Stick:a.txt"}, {"/media/usb", "Stick:"},
      {"/media/usb/", "Stick:"},           {"/media/usbx/a", "Root:media:usbx:a"},
      {"/media/usb/inner/x", "Inner:x"},   {"/media/usb/inner/../y", "Stick:y"},
      {"/srv/a/b/", "Data:a:b:"},          {"/media", "Root:media"}};
  for (const auto& [posix, colon] : rows) EXPECT_EQ(Convert(posix), colon) << posix;
  Vesk::SetColonPathVolume("/srv", "");
  EXPECT_EQ(Convert("/srv/a"), "Root:srv:a");
}

}  // namespace
