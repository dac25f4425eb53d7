#include "queue/amqp/address.h"

#include <gtest/gtest.h>

namespace qx::queue {
namespace {

std::string Written(const AmqpAddress& address) {
  std::string text = address.user + " " + address.vhost;
  for (const auto& host : address.hosts) text += " " + address.NameOf(host);
  return text;
}

TEST(AmqpAddress, IsReadInAllItsForms) {
  const std::pair<const char*, const char*> pairs[] = {
      {"amqp://rabbit.example", "guest / amqp://rabbit.example:5672"},
      {"amqps://ann@rabbit.example/", "ann / amqps://rabbit.example:5671"},
      {"amqp://ann@127.0.0.1:65535/bureau", "ann bureau amqp://127.0.0.1:65535"},
      {"amqps://ann%40home@[::1]:1/%2F", "ann@home / amqps://[::1]:1"},
      {"amqp://Zo%C3%AB@a,b:2,[fe80::1]/a%2fb%25", "Zo\u00EB a/b% amqp://a:5672 amqp://b:2 amqp://[fe80::1]:5672"},
  };
  for (const auto& [text, expected] : pairs) EXPECT_EQ(expected, Written(AmqpAddress::Parse(text))) << text;
}

TEST(AmqpAddress, IsRefusedWithoutBeingRepeated) {
  const std::string hosts[] = {std::string(254, 'a'),
                               "a b",
                               "a\n",
                               "-a",
                               "%61",
                               "a:0",
                               "a:65536",
                               "a:-1",
                               "a:+1",
                               "a:",
                               "a:1:2",
                               "a:1x",
                               ":5672",
                               "",
                               "[::1",
                               "::1",
                               "[::1]5672",
                               "[127.0.0.1]",
                               "[::1%25lo]",
                               "a,",
                               ",a",
                               "a,,b",
                               "u@v@a",
                               "@a",
                               "u%@a",
                               "u%0@a",
                               "u%0g@a",
                               "u%00@a",
                               "u%0a@a",
                               "u%ff@a",
                               std::string(256, 'u') + "@a",
                               "u:secret@a",
                               "secret:@a",
                               "a/b/c",
                               "a/%",
                               "a/%00",
                               "a//",
                               "a?b",
                               "a/b#c",
                               "a/" + std::string(256, 'v'),
                               "a/" + std::string(5000, 'v'),
                               "a,a,a,a,a,a,a,a,a,a,a,a,a,a,a,a,a"};
  std::vector<std::string> texts{"", "amqp", "amqp:", "amqp:/a", "AMQP://a", "http://a", "amqps:a", " amqp://a"};
  for (const std::string& host : hosts) texts.push_back("amqp://" + host);
  for (const std::string& text : texts) {
    try {
      AmqpAddress::Parse(text);
      ADD_FAILURE() << text;
    } catch (const BadAddress& bad) {
      EXPECT_EQ(std::string::npos, std::string(bad.what()).find("secret")) << text;
    }
  }
}

TEST(AmqpAddress, OfThisComputerIsKnown) {
  for (const char* name : {"localhost", "127.9.9.9", "::1"}) EXPECT_TRUE(IsLoopback({name, 1})) << name;
  for (const char* name : {"128.0.0.1", "127.0.0.1.example", "::2", "localhost.example"}) {
    EXPECT_FALSE(IsLoopback({name, 1})) << name;
  }
}

}  // namespace
}  // namespace qx::queue
