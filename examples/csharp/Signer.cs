// ZEPASignDLL for C# (P/Invoke): signs texts, bytes and files, from any thread.
//
//   Signer.Initialize("app.properties");
//   Console.WriteLine(Signer.SignFile("document.pdf").Base64);
//
// The library holds one signer for the whole process and has no lock. This class holds a lock of its own while it signs
// and reads the result, and copies each text before it releases the lock. Call the library through this class only.
using System;
using System.Collections.Generic;
using System.IO;
using System.Runtime.InteropServices;
using System.Security.Cryptography.X509Certificates;
using System.Text;

// A call that failed: the function, and the library's error code and message. The log tells the cause.
public sealed class SignerException : Exception {
  public string Function { get; }
  public int Code { get; }
  public string Reason { get; }

  public SignerException(string function, int code, string reason) : base($"{function} failed with {code}: {reason}") {
    Function = function;
    Code = code;
    Reason = reason;
  }
}

// The signer's certificate.
public sealed class SignerCertificate {
  public string Base64 { get; internal set; }
  public string SubjectCN { get; internal set; }  // always empty with OpenSSL 3; CommonName has the name
  public string Subject { get; internal set; }    // bytes beyond ASCII read \xE9, as in Issuer
  public string Issuer { get; internal set; }
  public string NotBefore { get; internal set; }  // YYYYMMDDhhmmss in UTC+8
  public string NotAfter { get; internal set; }
  public string Serial { get; internal set; }
  public string Fingerprint { get; internal set; }

  // The signer's name with its Chinese characters.
  public string CommonName {
    get {
      using (var certificate = new X509Certificate2(Convert.FromBase64String(Base64)))
        return certificate.GetNameInfo(X509NameType.SimpleName, false);
    }
  }
}

// A PKCS#7 signature, Base64 of the DER, and the certificate that made it.
public sealed class Signature {
  public string Base64 { get; internal set; }
  public SignerCertificate Certificate { get; internal set; }
}

public static class Signer {
#if WINDOWS
  const string Library = "ZEPASignDLL";
#else
  const string Library = "libZEPASignDLL.so.2";
#endif
  const CallingConvention C = CallingConvention.Cdecl;  // on 32-bit Windows the default is another one
  const int PropertyFileUnreadable = 1202;

  // ZEPASignDLL.h. C's bool is one byte, the default would be four. Returned texts are pointers: they belong to the
  // library, and the runtime would free a string. A string argument is passed in the system's encoding of file names.
  [DllImport(Library, CallingConvention = C)] static extern IntPtr GetPkiVersion();
  [DllImport(Library, CallingConvention = C)] static extern int GetErrorCode();
  [DllImport(Library, CallingConvention = C)] static extern IntPtr GetErrorMsg();
  [DllImport(Library, CallingConvention = C)]
  static extern int MakeZEPASignPasswd([In, Out] byte[] outBuf, ref int outLen, string propertyFile, byte[] passwd);
  [DllImport(Library, CallingConvention = C)] [return: MarshalAs(UnmanagedType.I1)]
  static extern bool ZEPASignInitial(string propertyFile, byte[] encedPfxPasswd);
  [DllImport(Library, CallingConvention = C)] static extern int SignPkcs7(byte[] text, byte[] encoding);
  [DllImport(Library, CallingConvention = C)] static extern int SignPkcs7Bin(byte[] data, int dataLen);
  [DllImport(Library, CallingConvention = C)] static extern int SignPkcs7File(string fileName);
  [DllImport(Library, CallingConvention = C)] static extern IntPtr GetSignedPkcs7();
  [DllImport(Library, CallingConvention = C)] static extern IntPtr GetSignerCertB64();
  [DllImport(Library, CallingConvention = C)] static extern IntPtr GetSignerCertSubjectCN();
  [DllImport(Library, CallingConvention = C)] static extern IntPtr GetSignerCertSubject();
  [DllImport(Library, CallingConvention = C)] static extern IntPtr GetSignerCertIssuer();
  [DllImport(Library, CallingConvention = C)] static extern IntPtr GetSignerCertNotBefore();
  [DllImport(Library, CallingConvention = C)] static extern IntPtr GetSignerCertNotAfter();
  [DllImport(Library, CallingConvention = C)] static extern IntPtr GetSignerCertSerial();
  [DllImport(Library, CallingConvention = C)] static extern IntPtr GetSignerCertFinger();

  static readonly object Lock = new object();
  static readonly Encoding Big5 = GetBig5();

  // The library's version.
  public static string Version => Text(GetPkiVersion());

  // Loads the settings and the PFX. With PSWD.authKey in the property file, the encrypted password comes from encedFile
  // or, without one, from the service manager's credential "enced".
  public static void Initialize(string propertyFile, string encedFile = null) {
    encedFile = encedFile ?? CredentialFile();
    var enced = encedFile == null ? null : Terminated(File.ReadAllText(encedFile).Trim(), Encoding.ASCII);
    lock (Lock) Check(ZEPASignInitial(WithoutNul(propertyFile), enced), "ZEPASignInitial");
  }

  // Signs a text in the encoding "BIG5" or "UTF-16LE". Throws an ArgumentException for a character that Big5 lacks; such
  // a text can be signed as bytes: SignBytes(Encoding.Unicode.GetBytes(text)).
  public static Signature SignText(string text, string encoding = "BIG5") {
    byte[] bytes;
    try {
      bytes = Terminated(text, Big5);
    } catch (EncoderFallbackException failure) {
      throw new ArgumentException("Big5 lacks a character of the text: " + failure.Message, nameof(text));
    }
    return Sign("SignPkcs7", () => SignPkcs7(bytes, Terminated(encoding, Encoding.ASCII)));
  }

  public static Signature SignBytes(byte[] data) => Sign("SignPkcs7Bin", () => SignPkcs7Bin(data, data.Length));

  public static Signature SignFile(string fileName) => Sign("SignPkcs7File", () => SignPkcs7File(WithoutNul(fileName)));

  // The encrypted form of the PFX password, for the file that Initialize reads. In a process that never initializes,
  // the library's log lines go to the standard output when the process ends.
  public static string EncryptPassword(string propertyFile, string password) {
    var plain = Terminated(password, Encoding.UTF8);
    var length = 0;
    lock (Lock) {
      var code = MakeZEPASignPasswd(null, ref length, WithoutNul(propertyFile), plain);  // asks for the length
      if (code == 0 && length == 0) code = PropertyFileUnreadable;                       // the library returns 0 here
      var enced = new byte[length];
      if (code == 0) code = MakeZEPASignPasswd(enced, ref length, propertyFile, plain);
      if (code != 0) throw new SignerException("MakeZEPASignPasswd", code, "see the log");
      return Encoding.ASCII.GetString(enced);
    }
  }

  static Signature Sign(string function, Func<int> call) {
    lock (Lock) {
      Check(call() == 0, function);
      return new Signature {
        Base64 = Text(GetSignedPkcs7()),
        Certificate = new SignerCertificate {
          Base64 = Text(GetSignerCertB64()),
          SubjectCN = Text(GetSignerCertSubjectCN()),
          Subject = Text(GetSignerCertSubject()),
          Issuer = Text(GetSignerCertIssuer()),
          NotBefore = Text(GetSignerCertNotBefore()),
          NotAfter = Text(GetSignerCertNotAfter()),
          Serial = Text(GetSignerCertSerial()),
          Fingerprint = Text(GetSignerCertFinger()),
        },
      };
    }
  }

  static void Check(bool succeeded, string function) {
    if (!succeeded) throw new SignerException(function, GetErrorCode(), Text(GetErrorMsg()));
  }

  static string Text(IntPtr big5) {
    var bytes = new List<byte>();
    for (byte next; (next = Marshal.ReadByte(big5, bytes.Count)) != 0;) bytes.Add(next);
    return Big5.GetString(bytes.ToArray());
  }

  static Encoding GetBig5() {
#if NET
    Encoding.RegisterProvider(CodePagesEncodingProvider.Instance);
#endif
    return Encoding.GetEncoding(950, EncoderFallback.ExceptionFallback, DecoderFallback.ReplacementFallback);
  }

  static byte[] Terminated(string text, Encoding encoding) => encoding.GetBytes(WithoutNul(text) + '\0');

  static string WithoutNul(string text) {
    if (text.IndexOf('\0') >= 0) throw new ArgumentException("a text for the library holds a NUL");
    return text;
  }

  static string CredentialFile() {
    var directory = Environment.GetEnvironmentVariable("CREDENTIALS_DIRECTORY");
    var file = directory == null ? null : Path.Combine(directory, "enced");
    return File.Exists(file) ? file : null;
  }
}
