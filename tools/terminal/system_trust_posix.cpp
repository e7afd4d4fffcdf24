#include "tools/terminal/system_trust.h"

namespace zepasign::tools {

bool trustSystem(SSL_CTX* context) { return SSL_CTX_set_default_verify_paths(context) == 1; }

}  // namespace zepasign::tools
