#include "base/cproperty.h"

#include "tests/support/base.h"

namespace zepasign::testing {

TEST(Property, LineForms) {
  cProperty property;
  EXPECT_TRUE(property.parse("= the key is empty"));
  EXPECT_EQ(property.getProperty(kNull), "");
  EXPECT_TRUE(
      property.parse("a=1\n \t b =  2 \r\n\x02 c\x7F=\x7F\t3\x0B\nd = e = f\r\n  #x = 4\n#a = 5\n;b = 6\n"
                     "A = 6\nA = 7 # note\n\xB8\xF4 =\xFF C:\\\xB3\\\xA5\\\r\nno pair\n\n = empty key\n"));
  std::string all;
  for (const char* key : {"a", "b", "c", "d", "#x", "A", "\xB8\xF4", ""}) all += property.getProperty(key) + "|";
  EXPECT_EQ(all, "1|2|3|e = f|4|7 # note|\xFF C:\\\xB3\\\xA5\\||");
}

TEST(Property, LoadsUntilAFileHasPairsInLinesOf511CharactersAtMost) {
  const TempDirectory directory;
  logInto(directory, "ERROR");
  cProperty property;
  const std::string longest = "a=" + std::string(509, 'x'), tooLong = "\n" + longest + "\n" + longest + "\r\n";
  EXPECT_FALSE(property.loadFromFile(""));
  EXPECT_FALSE(property.loadFromFile("%d"));
  for (const char* text : {"# a = b\n;a = b\r\nno pair", "", tooLong.c_str(), longest.c_str(), "a = 2"}) {
    EXPECT_EQ(property.loadFromFile(directory.write("file", text)), *text == 'a');
    EXPECT_EQ(property.getProperty("a").size(), *text == 'a' ? 509U : 0U);
  }
  EXPECT_EQ(logOf(directory.path()),
            big5("ERROR propertyFile ERROR! = \nERROR Open file = %d\nERROR loadFromFile() = %d\n"
                 "ERROR cProperty::parse() 行長度超過 511 字元, 行號 = 0x00000003(3)\n"));
}

TEST(Property, LogsEveryValueButSecrets) {
  const TempDirectory directory;
  logInto(directory, "DEBUG");
  cProperty property;
  std::string expected = big5("INFO 重設 LOG Level = DEBUG\nDEBUG end cFile::createFolder() return = true\n");
  for (const std::string key :
       {"PFX.pswd", "PFX.pswdB64", "PSWD.license", "PSWD.authKey", "\xEF\xBB\xBFpfx.PSWD", "PSWD.lincense", "PFX.psw",
        "x.PASSWORD", "PWD", "my.Licence", "AUTHKEY2", "PFX.path"}) {
    EXPECT_TRUE(property.parse((key + "=%s\n" + key + " = %s").c_str()));
    EXPECT_EQ(property.getProperty(key.c_str()), "%s");
    const std::string shown = key == "PFX.path" ? " = %s\n" : " = ********\n";
    const std::string insert = "DEBUG Insert MAP Name = " + key + "\nDEBUG Insert MAP Value" + shown;
    expected += insert + "WARN Erase duplicate MAP Name = " + key + "\n" + insert +
                "DEBUG properties.size() = 0x00000001(1)\nDEBUG end cProperty::parse() return = true\n" +
                "DEBUG cProperty::getProperty() : " + key + shown;
  }
  EXPECT_EQ(logOf(directory.path()), expected);
}

TEST(Property, LogsNoSecretThatWasTypedIntoTheKey) {
  const TempDirectory directory;
  logInto(directory, "DEBUG");
  cProperty property;
  EXPECT_TRUE(property.parse("PFX.pswdB64: rx6O+jQqypv==\nPSWD.License hid=den\nPFX.pswdrx6OjjQqypvxvBoIxbVyZg==\n"));
  std::string names;
  for (const std::string& line : readLog(directory.path()))
    if (line.find("Insert MAP ") != std::string::npos) names += line.substr(line.rfind(' ')) + "\n";
  EXPECT_EQ(names, " PFX.pswd********\n ********\n PSWD********\n ********\n PFX.pswd********\n ********\n");
}

TEST(Property, NumbersAndFlags) {
  cProperty property;
  std::string results;
  for (const char* line : {"x=42", "x=-7", "x=+12abc", "x=2147483647", "x=-2147483648", "y=1", "x=abc", "x=", "x=- 1",
                           "x=2147483648", "x=-2147483649", "x=99999999999999999999"}) {
    try {
      results += property.parse(line) ? std::to_string(property.getPropertyInt("x")) + "|" : "not parsed";
    } catch (const std::logic_error& error) {
      results += error.what() + std::string("|");
    }
  }
  const std::string invalid = "invalid stoi argument|", range = "stoi argument out of range|";
  EXPECT_EQ(results, "42|-7|12|2147483647|-2147483648|-1|" + invalid + invalid + invalid + range + range + range);
  EXPECT_TRUE(property.parse("a = tRuE\nb = yes\nc = TRUE1"));
  EXPECT_TRUE(property.getPropertyBool("a"));
  for (const char* key : {"b", "c", "A", "", kNull}) EXPECT_FALSE(property.getPropertyBool(key));
}

}  // namespace zepasign::testing
