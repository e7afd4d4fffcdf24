import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Scanner;

/**
 * Signs a file, and a text when one is given: java Main PROPERTY-FILE FILE [TEXT].
 *
 * <p>java Main --encrypt PROPERTY-FILE FILE reads the PFX password from the standard input and writes its encrypted form
 * to FILE.
 */
public class Main {
  private static void encrypt(Path propertyFile, Path file) throws Exception {
    Files.writeString(file, Signer.encryptPassword(propertyFile, new Scanner(System.in).nextLine()));
  }

  private static void sign(Path propertyFile, Path file, String text) throws Exception {
    Signer.initialize(propertyFile);
    Signer.Signature signature = Signer.signFile(file);
    System.out.println(signature.base64());
    if (text != null) {
      System.out.println(Signer.signText(text, "BIG5").base64());
      System.out.println(Signer.signBytes(text.getBytes(StandardCharsets.UTF_16LE)).base64());
    }
    Signer.Certificate certificate = signature.certificate();
    System.out.println("subject=" + certificate.subject());
    System.out.println("issuer=" + certificate.issuer());
    System.out.println("serial=" + certificate.serial());
    System.out.println("not_before=" + certificate.notBefore());
    System.out.println("not_after=" + certificate.notAfter());
    System.out.println("fingerprint=" + certificate.fingerprint());
    System.out.println("name=" + certificate.commonName());
    System.out.println("version=" + Signer.version());
  }

  public static void main(String[] args) throws Exception {
    try {
      if (args.length < 2) throw new IllegalArgumentException("usage: java Main PROPERTY-FILE FILE [TEXT]");
      if (args[0].equals("--encrypt")) encrypt(Path.of(args[1]), Path.of(args[2]));
      else sign(Path.of(args[0]), Path.of(args[1]), args.length > 2 ? args[2] : null);
    } catch (Signer.SignerException | IllegalArgumentException | IOException failure) {
      System.err.println(failure.getMessage());
      System.exit(1);
    }
  }
}
