#include "base/errors.h"

#include <algorithm>
#include <iterator>

#include "base/big5.h"

namespace zepasign {
namespace {

struct ErrorText {
  int code;
  const char* message;
};

// Sorted by code for binary search. Callers depend on every text, even on the odd wordings of 5400 and 9002 and on the
// English texts of 5902 to 5905.
constexpr ErrorText kErrorTexts[] = {
    {kSuccess, "成功"_big5},
    {1001, "無法建立目錄"_big5},
    {kFileUnreadable, "檔案無法讀取"_big5},
    {1003, "檔案無法寫入"_big5},
    {1101, "憑證檔不存在"_big5},
    {kPfxFileUnreadable, "憑證檔無法讀取"_big5},
    {1103, "憑證檔無法寫入"_big5},
    {1201, "PROPERTY 檔不存在"_big5},
    {kPropertyFileUnreadable, "PROPERTY 檔無法讀取"_big5},
    {1203, "PROPERTY 檔無法寫入"_big5},
    {1500, "IE 受保護模式已啟動, 請加入信任網站, 並使用預設保護模式(關閉)"_big5},
    {1501, "RSA 產生弱金鑰, 無法使用"_big5},
    {kGeneralError, "一般錯誤"_big5},
    {kOutOfMemory, "配置記憶體發生錯誤"_big5},
    {kBufferTooSmall, "配置記憶體不足"_big5},
    {5004, "不支援的功能"_big5},
    {kWrongParameter, "錯誤的參數"_big5},
    {5006, "Handle錯誤"_big5},
    {5008, "Base64 編碼錯誤"_big5},
    {kCertificateNotFound, "無法在憑證區(或憑證檔)中,找到指定憑證"_big5},
    {kCertificateExpired, "憑證已過期"_big5},
    {kCertificateNotYetValid, "憑證尚未生效,無法使用"_big5},
    {5013, "憑證可能過期或無法使用"_big5},
    {5014, "憑證主旨錯誤"_big5},
    {5015, "無法找到憑證發行者"_big5},
    {5016, "不合法的憑證簽章"_big5},
    {kKeyUsageUnsuitable, "憑證用途(加解密,簽驗章)不合適"_big5},
    {5018, "憑證尚未註冊, 無法找到指定憑證"_big5},
    {5020, "憑證已廢止"_big5},
    {5021, "憑證已廢止(金鑰洩露)"_big5},
    {5022, "憑證已廢止(CA compromised)"_big5},
    {5023, "憑證已廢止(聯盟已變更)"_big5},
    {5024, "憑證已廢止(已取代)"_big5},
    {5025, "憑證已廢止(已停止)"_big5},
    {5026, "憑證保留或暫禁"_big5},
    {5028, "憑證已被CRL廢止"_big5},
    {5030, "CRL已過期"_big5},
    {5031, "不合法的CRL"_big5},
    {5032, "無法找到CRL"_big5},
    {5034, "CRL簽章值錯誤"_big5},
    {5035, "Digest錯誤"_big5},
    {5036, "錯誤的簽章值"_big5},
    {5037, "內容錯誤"_big5},
    {5040, "憑證格式錯誤"_big5},
    {5041, "CRL格式錯誤"_big5},
    {5042, "錯誤的PKCS7格式"_big5},
    {5043, "Key的格式錯誤"_big5},
    {5044, "不合法的PKCS10格式"_big5},
    {5045, "不合適的格式"_big5},
    {5046, "CSP 名稱錯誤"_big5},
    {5047, "作業系統不支援此 CSP"_big5},
    {5048, "強制使用 AES/SHA2 CSP 失敗, 作業系統不支援"_big5},
    {5049, "強制使用 AES/SHA2 CSP 情況下, 禁止變更使用其他 CSP"_big5},
    {5060, "金鑰不存在"_big5},
    {kSigningFailed, "簽章失敗"_big5},
    {5062, "驗章失敗"_big5},
    {kEncryptionFailed, "加密失敗"_big5},
    {5064, "解密失敗"_big5},
    {5065, "產生金鑰失敗"_big5},
    {5066, "刪除憑證失敗"_big5},
    {5067, "執行簽章時, 尚未選擇簽章憑證"_big5},
    {5070, "使用者按下\"取消\"按鈕"_big5},
    {5071, "密碼錯誤"_big5},
    {5202, "憑證鏈不存在"_big5},
    {5400, "憑證交換檔讀不存在"_big5},
    {5401, "憑證交換檔讀取失敗"_big5},
    {5402, "憑證交換檔寫入失敗"_big5},
    {kTextConversionFailed, "Unicode 編碼錯誤"_big5},
    {5902, "File Not Found"_big5},
    {5903, "Path Not Found"_big5},
    {5904, "Network path was not found"_big5},
    {5905, "Unknown logon user name or bad password"_big5},
    {5906, "使用者權限不足"_big5},
    {8706, "P12 檔尚未載入"_big5},
    {8707, "P12 檔早已載入"_big5},
    {9001, "加解密演算法錯誤"_big5},
    {9002, "加解格式錯誤"_big5},
    {9003, "加解密密碼長度錯誤"_big5},
    {9004, "加密錯誤"_big5},
    {9005, "解密錯誤"_big5},
    {9006, "解密錯誤, 找不到可用憑證"_big5},
    {25601, "CRL 服務尚未啟動, 無法驗證"_big5},
    {25602, "CRL 驗證參數錯誤, 無法驗證"_big5},
    {25603, "KVA 憑證不存在, 無法驗證"_big5},
    {25616, "CRL 無法取得, 無法驗證"_big5},
    {25617, "CRL 格式錯誤, 無法驗證"_big5},
    {25632, "CRL 尚未取得, 無法驗證"_big5},
};

const char* textOf(int code) {
  const auto* row = std::lower_bound(std::begin(kErrorTexts), std::end(kErrorTexts), code,
                                     [](const ErrorText& text, int key) { return text.code < key; });
  return row != std::end(kErrorTexts) && row->code == code ? row->message : "錯誤碼未定義"_big5;
}

}  // namespace

std::string errorCodeToMessage(int code) {
  std::string message = textOf(code);
  message += '(';
  message += std::to_string(code);
  message += ')';
  return message;
}

}  // namespace zepasign
