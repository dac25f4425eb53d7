#include "queue/amqp/encryption.h"

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

#include "photo/base/text.h"

namespace qx::queue {
namespace {

// Keeps the first error: the library only says that there was one.
int NoteVerification(int isGood, X509_STORE_CTX* store) {
  if (isGood) return 1;
  const auto* ssl = static_cast<SSL*>(X509_STORE_CTX_get_ex_data(store, SSL_get_ex_data_X509_STORE_CTX_idx()));
  auto* verification = static_cast<long*>(SSL_CTX_get_app_data(SSL_get_SSL_CTX(ssl)));
  if (*verification == X509_V_OK) *verification = X509_STORE_CTX_get_error(store);
  return 0;
}

bool Expect(SSL_CTX* context, const std::string& name) {
  X509_VERIFY_PARAM* expected = SSL_CTX_get0_param(context);
  // A name may stand for an address only where the certificate says so.
  if (X509_VERIFY_PARAM_set1_ip_asc(expected, name.c_str()) == 1) return true;
  X509_VERIFY_PARAM_set_hostflags(expected, X509_CHECK_FLAG_NO_PARTIAL_WILDCARDS);
  return X509_VERIFY_PARAM_set1_host(expected, name.c_str(), name.size()) == 1;
}

}  // namespace

std::string Encrypt(amqp_socket_t* socket, const AmqpSettings& settings, const AmqpAddress::Host& host,
                    long* verification) {
  auto* context = static_cast<SSL_CTX*>(amqp_ssl_socket_get_context(socket));
  // The library's own look at names knows no addresses; this one happens within the handshake.
  amqp_ssl_socket_set_verify_hostname(socket, false);
  amqp_ssl_socket_set_verify_peer(socket, true);
  SSL_CTX_set_app_data(context, verification);
  SSL_CTX_set_verify(context, SSL_VERIFY_PEER, NoteVerification);
  // A key that is itself locked is an error: nobody is there to be asked.
  SSL_CTX_set_default_passwd_cb(context, [](char*, int, int, void*) { return 0; });
  if (SSL_CTX_set_min_proto_version(context, TLS1_2_VERSION) != 1 || !Expect(context, host.name)) {
    return "cannot prepare the encryption";
  }
  const auto cannot = [](const std::filesystem::path& file) {
    ERR_clear_error();
    return "cannot read a certificate or key from " + photo::Printable(file.native());
  };
  if (settings.caFile.empty()) {
    SSL_CTX_set_default_verify_paths(context);
  } else if (amqp_ssl_socket_set_cacert(socket, settings.caFile.c_str()) != AMQP_STATUS_OK) {
    return cannot(settings.caFile);
  }
  if (!settings.certFile.empty() &&
      amqp_ssl_socket_set_key(socket, settings.certFile.c_str(), settings.keyFile.c_str()) != AMQP_STATUS_OK) {
    return cannot(settings.certFile) + " and " + photo::Printable(settings.keyFile.native());
  }
  return {};
}

std::string WordsOfVerification(long verification) {
  return X509_verify_cert_error_string(verification);
}

}  // namespace qx::queue
