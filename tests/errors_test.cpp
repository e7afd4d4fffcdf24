#include "base/errors.h"

#include "base/charset.h"
#include "tests/support/base.h"

namespace zepasign::testing {

TEST(Errors, EveryRowIsFoundAndTheOddOnesKeepTheirWording) {
  std::string odd;
  for (int code : {0, 5070, 5400, 9002, -1, 5009, kPfxNotLoaded, kPasswordOrKeyWrong}) odd += errorCodeToMessage(code);
  EXPECT_EQ(odd, big5("成功(0)使用者按下\"取消\"按鈕(5070)憑證交換檔讀不存在(5400)加解格式錯誤(9002)錯誤碼未定義(-1)"
                      "錯誤碼未定義(5009)錯誤碼未定義(5204)錯誤碼未定義(5208)"));
  int rows = 0;
  for (int code = -10; code < 26000; ++code) {
    const std::string message = errorCodeToMessage(code), ending = std::string("(").append(std::to_string(code)) + ")";
    cBytes utf16;
    EXPECT_TRUE(message.ends_with(ending)) << code;
    EXPECT_TRUE(convertUniCodeStringToAny(message.c_str(), "UTF-16LE", &utf16)) << code;
    rows += message == big5("錯誤碼未定義") + ending ? 0 : 1;
  }
  EXPECT_EQ(rows, 87);  // the search would miss a row out of order
}

}  // namespace zepasign::testing
