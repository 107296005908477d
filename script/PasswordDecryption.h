#pragma once
// The replaceable routine that turns an encrypted password of a
// "qz_decrypt(\"...\")" argument into plain text.
#include "webstep/foundation/Export.h"
#include "webstep/foundation/MString.h"

/// Returns a new plain text allocated with std::malloc (released by the
/// caller with std::free), or null when the text cannot be decrypted.
using PasswordDecryptRoutine = char* (*)(const char* encrypted);

/// Installs a routine (null removes it) and returns the previous one. Without
/// a routine every encrypted password reads as the empty text.
WEBSTEP_API PasswordDecryptRoutine SetPasswordDecryptRoutine(PasswordDecryptRoutine routine);
WEBSTEP_API PasswordDecryptRoutine GetPasswordDecryptRoutine();

/// The password to store for an argument of "web_set_user": the unwrapped and
/// decrypted text of a well-formed "qz_decrypt(\"...\")" form (empty when the
/// routine gives null or none is installed); any other text, including a
/// "qz_decrypt" form without its parenthesis or quotes, as written.
WEBSTEP_API MString UnwrapPasswordArgument(const MString& argument);
