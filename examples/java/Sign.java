/*
 * Signs one file from Java (JNA):
 *
 *   java -cp /usr/share/java/jna.jar Sign.java PROPERTY-FILE FILE
 *
 * Prints the signature in Base64 and the signer's certificate, or the function that failed, its code and its message.
 */
import com.sun.jna.Library;
import com.sun.jna.Native;
import com.sun.jna.Platform;
import com.sun.jna.Pointer;

public class Sign {
  /** What this host uses of ZEPASignDLL.h. Texts come as pointers, since their bytes are Big5. */
  public interface ZEPASignDLL extends Library {
    /** C's bool is one byte; JNA's boolean would be four. */
    byte ZEPASignInitial(String propertyFile, String encedPfxPasswd);
    int SignPkcs7File(String fileName);
    int GetErrorCode();
    Pointer GetErrorMsg();
    Pointer GetSignedPkcs7();
    Pointer GetSignerCertSubject();
    Pointer GetSignerCertIssuer();
    Pointer GetSignerCertSerial();
    Pointer GetSignerCertNotBefore();
    Pointer GetSignerCertNotAfter();
    Pointer GetSignerCertFinger();
  }

  private static final ZEPASignDLL library =
      Native.load(Platform.isWindows() ? "ZEPASignDLL" : "libZEPASignDLL.so.2", ZEPASignDLL.class);

  private static String text(Pointer big5) {
    return big5.getString(0, "MS950");
  }

  private static void check(boolean good, String function) {
    if (good) return;
    System.err.println(function + " failed with " + library.GetErrorCode() + ": " + text(library.GetErrorMsg()));
    System.exit(1);
  }

  public static void main(String[] args) {
    if (args.length != 2) {
      System.err.println("usage: java Sign.java PROPERTY-FILE FILE");
      System.exit(2);
    }
    // The second argument is needed only when the property file has a PSWD.authKey.
    check(library.ZEPASignInitial(args[0], null) != 0, "ZEPASignInitial");
    check(library.SignPkcs7File(args[1]) == 0, "SignPkcs7File");
    System.out.println(text(library.GetSignedPkcs7()));
    System.out.println("subject=" + text(library.GetSignerCertSubject()));
    System.out.println("issuer=" + text(library.GetSignerCertIssuer()));
    System.out.println("serial=" + text(library.GetSignerCertSerial()));
    System.out.println("notBefore=" + text(library.GetSignerCertNotBefore()));
    System.out.println("notAfter=" + text(library.GetSignerCertNotAfter()));
    System.out.println("fingerprint=" + text(library.GetSignerCertFinger()));
  }
}
