// TLS of a connection, with the server's name held against its certificate.
#ifndef QX_QUEUE_AMQP_ENCRYPTION_H
#define QX_QUEUE_AMQP_ENCRYPTION_H

#include <amqp_ssl_socket.h>
#include <amqp_tcp_socket.h>

#include <string>

#include "queue/amqp/settings.h"

namespace qx::queue {

// Before the socket is opened: TLS 1.2 or later, with a server whose certificate somebody vouches for and names that
// host. What is found wrong with it is put into `verification`, which must outlive the socket. Returns what cannot be
// done, such as reading a file; empty when all is well.
std::string Encrypt(amqp_socket_t* socket, const AmqpSettings& settings, const AmqpAddress::Host& host,
                    long* verification);

std::string WordsOfVerification(long verification);

}  // namespace qx::queue

#endif  // QX_QUEUE_AMQP_ENCRYPTION_H
