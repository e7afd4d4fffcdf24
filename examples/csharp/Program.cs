// Signs a file, and a text when one is given:  mono sign.exe PROPERTY-FILE FILE [TEXT]
//
// mono sign.exe --encrypt PROPERTY-FILE FILE reads the PFX password from the standard input and writes its encrypted form
// to FILE.
using System;
using System.IO;
using System.Text;

static class Program {
  static void Encrypt(string propertyFile, string file) {
    File.WriteAllText(file, Signer.EncryptPassword(propertyFile, Console.ReadLine()));
  }

  static void Sign(string propertyFile, string file, string text) {
    Signer.Initialize(propertyFile);
    var signature = Signer.SignFile(file);
    Console.WriteLine(signature.Base64);
    if (text != null) {
      Console.WriteLine(Signer.SignText(text).Base64);
      Console.WriteLine(Signer.SignBytes(Encoding.Unicode.GetBytes(text)).Base64);
    }
    var certificate = signature.Certificate;
    Console.WriteLine("subject=" + certificate.Subject);
    Console.WriteLine("issuer=" + certificate.Issuer);
    Console.WriteLine("serial=" + certificate.Serial);
    Console.WriteLine("not_before=" + certificate.NotBefore);
    Console.WriteLine("not_after=" + certificate.NotAfter);
    Console.WriteLine("fingerprint=" + certificate.Fingerprint);
    Console.WriteLine("name=" + certificate.CommonName);
    Console.WriteLine("version=" + Signer.Version);
  }

  static int Main(string[] args) {
    try {
      if (args.Length < 2) throw new ArgumentException("usage: sign.exe PROPERTY-FILE FILE [TEXT]");
      if (args[0] == "--encrypt") Encrypt(args[1], args[2]);
      else Sign(args[0], args[1], args.Length > 2 ? args[2] : null);
      return 0;
    } catch (Exception failure) when (failure is SignerException || failure is ArgumentException ||
                                      failure is IOException) {
      Console.Error.WriteLine(failure.Message);
      return 1;
    }
  }
}
