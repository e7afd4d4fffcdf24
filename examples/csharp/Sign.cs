// Signs one file from C# (P/Invoke):
//
//   mcs -out:sign.exe Sign.cs && mono sign.exe PROPERTY-FILE FILE
//
// Prints the signature in Base64 and the signer's certificate, or the function that failed, its code and its message.
using System;
using System.Collections.Generic;
using System.Runtime.InteropServices;
using System.Text;

static class Sign {
#if WINDOWS
  const string Library = "ZEPASignDLL";
#else
  const string Library = "libZEPASignDLL.so.2";
#endif
  const CallingConvention C = CallingConvention.Cdecl;  // on 32-bit Windows the default is another one
  // C's bool is one byte; the default would be four. Texts come as pointers, since their bytes are Big5.
  [DllImport(Library, CallingConvention = C)] [return: MarshalAs(UnmanagedType.I1)]
  static extern bool ZEPASignInitial(string propertyFile, string encedPfxPasswd);
  [DllImport(Library, CallingConvention = C)] static extern int SignPkcs7File(string fileName);
  [DllImport(Library, CallingConvention = C)] static extern int GetErrorCode();
  [DllImport(Library, CallingConvention = C)] static extern IntPtr GetErrorMsg();
  [DllImport(Library, CallingConvention = C)] static extern IntPtr GetSignedPkcs7();
  [DllImport(Library, CallingConvention = C)] static extern IntPtr GetSignerCertSubject();
  [DllImport(Library, CallingConvention = C)] static extern IntPtr GetSignerCertIssuer();
  [DllImport(Library, CallingConvention = C)] static extern IntPtr GetSignerCertSerial();
  [DllImport(Library, CallingConvention = C)] static extern IntPtr GetSignerCertNotBefore();
  [DllImport(Library, CallingConvention = C)] static extern IntPtr GetSignerCertNotAfter();
  [DllImport(Library, CallingConvention = C)] static extern IntPtr GetSignerCertFinger();

  static string Text(IntPtr big5) {
    var bytes = new List<byte>();
    for (byte next; (next = Marshal.ReadByte(big5, bytes.Count)) != 0;) bytes.Add(next);
    return Encoding.GetEncoding(950).GetString(bytes.ToArray());  // .NET Core: first register CodePagesEncodingProvider
  }

  static int Fail(string function) {
    Console.Error.WriteLine($"{function} failed with {GetErrorCode()}: {Text(GetErrorMsg())}");
    return 1;
  }

  static int Main(string[] args) {
    if (args.Length != 2) { Console.Error.WriteLine("usage: sign.exe PROPERTY-FILE FILE"); return 2; }
    // The second argument is needed only when the property file has a PSWD.authKey.
    if (!ZEPASignInitial(args[0], null)) return Fail("ZEPASignInitial");
    if (SignPkcs7File(args[1]) != 0) return Fail("SignPkcs7File");
    Console.WriteLine(Text(GetSignedPkcs7()));
    Console.WriteLine("subject=" + Text(GetSignerCertSubject()));
    Console.WriteLine("issuer=" + Text(GetSignerCertIssuer()));
    Console.WriteLine("serial=" + Text(GetSignerCertSerial()));
    Console.WriteLine("notBefore=" + Text(GetSignerCertNotBefore()));
    Console.WriteLine("notAfter=" + Text(GetSignerCertNotAfter()));
    Console.WriteLine("fingerprint=" + Text(GetSignerCertFinger()));
    return 0;
  }
}
