import com.sun.jna.Library;
import com.sun.jna.Native;
import com.sun.jna.Platform;
import com.sun.jna.Pointer;
import com.sun.jna.ptr.IntByReference;
import java.io.ByteArrayInputStream;
import java.io.IOException;
import java.nio.charset.Charset;
import java.nio.charset.CharsetEncoder;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.cert.CertificateException;
import java.security.cert.CertificateFactory;
import java.security.cert.X509Certificate;
import java.util.Arrays;
import java.util.Base64;
import java.util.function.Supplier;
import javax.naming.InvalidNameException;
import javax.naming.ldap.LdapName;
import javax.naming.ldap.Rdn;

/**
 * ZEPASignDLL for Java (JNA): signs texts, bytes and files, from any thread.
 *
 * <pre>
 * Signer.initialize(Path.of("app.properties"));
 * System.out.println(Signer.signFile(Path.of("document.pdf")).base64());
 * </pre>
 *
 * <p>The library holds one signer for the whole process and has no lock. This class holds a lock of its own while it
 * signs and reads the result, and copies each text before it releases the lock. (A library that is synchronized by JNA
 * would lock each single call, which is not enough.) Call the library through this class only.
 */
public final class Signer {
  /** A call that failed: the function, the library's error code and its message. The log tells the cause. */
  public static final class SignerException extends Exception {
    private static final long serialVersionUID = 1L;
    public final String function;
    public final int code;
    public final String reason;

    SignerException(String function, int code, String reason) {
      super(function + " failed with " + code + ": " + reason);
      this.function = function;
      this.code = code;
      this.reason = reason;
    }
  }

  /**
   * The signer's certificate. Dates are YYYYMMDDhhmmss in UTC+8; in subject and issuer, bytes beyond ASCII read \xE9;
   * subjectCN is always empty with OpenSSL 3, commonName has the name.
   */
  public record Certificate(String base64, String subjectCN, String subject, String issuer, String notBefore,
                            String notAfter, String serial, String fingerprint) {
    /** The signer's name with its Chinese characters. */
    public String commonName() throws CertificateException, InvalidNameException {
      var der = new ByteArrayInputStream(Base64.getDecoder().decode(base64));
      var certificate = (X509Certificate) CertificateFactory.getInstance("X.509").generateCertificate(der);
      for (Rdn entry : new LdapName(certificate.getSubjectX500Principal().getName()).getRdns()) {
        if (entry.getType().equals("CN")) return entry.getValue().toString();
      }
      return "";
    }
  }

  /** A PKCS#7 signature, Base64 of the DER, and the certificate that made it. */
  public record Signature(String base64, Certificate certificate) {}

  /** ZEPASignDLL.h. Texts are bytes, since their encoding is Big5; C's bool is one byte, JNA's would be four. */
  private interface ZEPASignDLL extends Library {
    Pointer GetPkiVersion();
    int GetErrorCode();
    Pointer GetErrorMsg();
    int MakeZEPASignPasswd(byte[] outBuf, IntByReference outLen, byte[] propertyFile, byte[] passwd);
    byte ZEPASignInitial(byte[] propertyFile, byte[] encedPfxPasswd);
    int SignPkcs7(byte[] text, byte[] encoding);
    int SignPkcs7Bin(byte[] data, int dataLen);
    int SignPkcs7File(byte[] fileName);
    Pointer GetSignedPkcs7();
    Pointer GetSignerCertB64();
    Pointer GetSignerCertSubjectCN();
    Pointer GetSignerCertSubject();
    Pointer GetSignerCertIssuer();
    Pointer GetSignerCertNotBefore();
    Pointer GetSignerCertNotAfter();
    Pointer GetSignerCertSerial();
    Pointer GetSignerCertFinger();
  }

  private static final int PROPERTY_FILE_UNREADABLE = 1202;
  private static final String BIG5 = "x-windows-950"; // Java's "Big5" differs from the library's in some symbols
  private static final Charset PATH_CHARSET = Charset.forName(System.getProperty("sun.jnu.encoding"));
  private static final Object LOCK = new Object();
  private static final ZEPASignDLL LIBRARY =
      Native.load(Platform.isWindows() ? "ZEPASignDLL" : "libZEPASignDLL.so.2", ZEPASignDLL.class);

  private Signer() {}

  /** The library's version. */
  public static String version() {
    return text(LIBRARY.GetPkiVersion());
  }

  /**
   * Loads the settings and the PFX. With PSWD.authKey in the property file, the encrypted password comes from the service
   * manager's credential "enced".
   */
  public static void initialize(Path propertyFile) throws SignerException, IOException {
    String credentials = System.getenv("CREDENTIALS_DIRECTORY");
    Path enced = credentials == null ? null : Path.of(credentials, "enced");
    initialize(propertyFile, enced != null && Files.exists(enced) ? enced : null);
  }

  /** The same with the encrypted password from a file, or without one: null. */
  public static void initialize(Path propertyFile, Path encedFile) throws SignerException, IOException {
    byte[] enced = encedFile == null ? null : terminated(Files.readString(encedFile).strip(), StandardCharsets.US_ASCII);
    synchronized (LOCK) {
      check(LIBRARY.ZEPASignInitial(path(propertyFile), enced) != 0, "ZEPASignInitial");
    }
  }

  /**
   * Signs a text in the encoding "BIG5" or "UTF-16LE". Throws IllegalArgumentException for a character that Big5 lacks;
   * such a text can be signed as bytes: signBytes(text.getBytes(StandardCharsets.UTF_16LE)).
   */
  public static Signature signText(String text, String encoding) throws SignerException {
    CharsetEncoder big5 = Charset.forName(BIG5).newEncoder();
    text.codePoints().mapToObj(Character::toString).filter(character -> !big5.canEncode(character)).findFirst()
        .ifPresent(character -> {
          throw new IllegalArgumentException("Big5 lacks the character " + character + " of the text");
        });
    byte[] bytes = terminated(text, big5.charset());
    byte[] target = terminated(encoding, StandardCharsets.US_ASCII);
    return sign("SignPkcs7", () -> LIBRARY.SignPkcs7(bytes, target));
  }

  /** Signs bytes. */
  public static Signature signBytes(byte[] data) throws SignerException {
    return sign("SignPkcs7Bin", () -> LIBRARY.SignPkcs7Bin(data, data.length));
  }

  /** Signs the content of a file. */
  public static Signature signFile(Path file) throws SignerException {
    byte[] name = path(file);
    return sign("SignPkcs7File", () -> LIBRARY.SignPkcs7File(name));
  }

  /**
   * The encrypted form of the PFX password, for the file that initialize reads. In a process that never initializes, the
   * library's log lines go to the standard output when the process ends.
   */
  public static String encryptPassword(Path propertyFile, String password) throws SignerException {
    byte[] file = path(propertyFile);
    byte[] plain = terminated(password, StandardCharsets.UTF_8);
    var length = new IntByReference(0);
    synchronized (LOCK) {
      int code = LIBRARY.MakeZEPASignPasswd(null, length, file, plain); // asks for the length
      if (code == 0 && length.getValue() == 0) code = PROPERTY_FILE_UNREADABLE; // the library returns 0 here
      byte[] enced = new byte[length.getValue()];
      if (code == 0) code = LIBRARY.MakeZEPASignPasswd(enced, length, file, plain);
      if (code != 0) throw new SignerException("MakeZEPASignPasswd", code, "see the log");
      return new String(enced, StandardCharsets.US_ASCII);
    }
  }

  private static Signature sign(String function, Supplier<Integer> call) throws SignerException {
    synchronized (LOCK) {
      check(call.get() == 0, function);
      return new Signature(text(LIBRARY.GetSignedPkcs7()),
          new Certificate(text(LIBRARY.GetSignerCertB64()), text(LIBRARY.GetSignerCertSubjectCN()),
              text(LIBRARY.GetSignerCertSubject()), text(LIBRARY.GetSignerCertIssuer()),
              text(LIBRARY.GetSignerCertNotBefore()), text(LIBRARY.GetSignerCertNotAfter()),
              text(LIBRARY.GetSignerCertSerial()), text(LIBRARY.GetSignerCertFinger())));
    }
  }

  private static void check(boolean succeeded, String function) throws SignerException {
    if (!succeeded) throw new SignerException(function, LIBRARY.GetErrorCode(), text(LIBRARY.GetErrorMsg()));
  }

  private static String text(Pointer big5) {
    return big5.getString(0, BIG5);
  }

  private static byte[] path(Path path) {
    return terminated(path.toString(), PATH_CHARSET);
  }

  private static byte[] terminated(String text, Charset charset) {
    if (text.indexOf('\0') >= 0) throw new IllegalArgumentException("a text for the library holds a NUL");
    byte[] bytes = text.getBytes(charset);
    return Arrays.copyOf(bytes, bytes.length + 1);
  }
}
