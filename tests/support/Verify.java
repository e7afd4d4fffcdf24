// java -cp JARS Verify.java CERTIFICATE CONTENT SIGNATURE...: Bouncy Castle's verdict on DER signatures by that certificate
// over that content, which is in the signature or beside it. Ends with 1 for the first one that is not good.
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import org.bouncycastle.cert.X509CertificateHolder;
import org.bouncycastle.cms.CMSProcessableByteArray;
import org.bouncycastle.cms.CMSSignedData;
import org.bouncycastle.cms.SignerInformation;
import org.bouncycastle.cms.bc.BcRSASignerInfoVerifierBuilder;
import org.bouncycastle.cms.DefaultCMSSignatureAlgorithmNameGenerator;
import org.bouncycastle.operator.DefaultDigestAlgorithmIdentifierFinder;
import org.bouncycastle.operator.DefaultSignatureAlgorithmIdentifierFinder;
import org.bouncycastle.operator.bc.BcDigestCalculatorProvider;

class Verify {
  public static void main(String[] arguments) throws Exception {
    var certificate = new X509CertificateHolder(Files.readAllBytes(Path.of(arguments[0])));
    byte[] content = Files.readAllBytes(Path.of(arguments[1]));
    var verifier = new BcRSASignerInfoVerifierBuilder(
        new DefaultCMSSignatureAlgorithmNameGenerator(), new DefaultSignatureAlgorithmIdentifierFinder(),
        new DefaultDigestAlgorithmIdentifierFinder(), new BcDigestCalculatorProvider()).build(certificate);
    for (String file : Arrays.asList(arguments).subList(2, arguments.length)) {
      byte[] der = Files.readAllBytes(Path.of(file));
      var signature = new CMSSignedData(der);
      if (signature.isDetachedSignature()) {
        signature = new CMSSignedData(new CMSProcessableByteArray(content), der);
      }
      SignerInformation signer = signature.getSignerInfos().getSigners().iterator().next();
      boolean good = signer.verify(verifier) &&
          Arrays.equals((byte[]) signature.getSignedContent().getContent(), content);
      if (!good) throw new Exception(file);
    }
  }
}
