#include "worker/places.h"

#include <gtest/gtest.h>

#include <string>

namespace qx::worker {
namespace {

TEST(PlacesTest, FoldersHoldWhatLiesBelowThem) {
  for (const auto& [path, folder] : {std::pair("/a/b", "/a/b"),
                                     {"/a/b/c", "/a/b"},
                                     {"/a/b/c/d", "/a/b"},
                                     {"/a", "/"},
                                     {"/", "/"},
                                     {"/a/b", "/a/"}}) {
    EXPECT_TRUE(IsBelow(path, folder)) << path << " in " << folder;
  }
  for (const auto& [path, folder] : {std::pair("/a/bc", "/a/b"),
                                     {"/a/b-c/d", "/a/b"},
                                     {"/a", "/a/b"},
                                     {"/b/a/b", "/a/b"},
                                     {"", "/"},
                                     {"a", "/"},
                                     {"/a", ""},
                                     {"/A/b", "/a"},
                                     {"/a", "/a/"}}) {
    EXPECT_FALSE(IsBelow(path, folder)) << path << " in " << folder;
  }
  Places places;
  EXPECT_FALSE(places.HasPath("/"));
  places.AddFolder("/srv/in");
  places.AddFolder("/srv/more");
  EXPECT_TRUE(places.HasPath("/srv/more/x.jpg"));
  EXPECT_FALSE(places.HasPath("/srv/morex.jpg"));
}

TEST(PlacesTest, AddressesThatAreNone) {
  for (const char* text : {"",
                           "https:",
                           "https://",
                           "https:///in/a.jpg",
                           "ftp://h/in/a.jpg",
                           "file:///in/a.jpg",
                           "HTTPS://h/in/a.jpg",
                           "https://h:0/in/a.jpg",
                           "https://h:65536/in/a.jpg",
                           "https://h:/in/a.jpg",
                           "https://h:-1/in/a.jpg",
                           "https://h:80x/in/a.jpg",
                           "https://h:8 0/in/a.jpg",
                           "https://u@h/in/a.jpg",
                           "https://h@evil/in/a.jpg",
                           "https://h\\@evil/in/a.jpg",
                           "https://h/in/../a.jpg",
                           "https://h/in/..;/a.jpg",
                           "https://h/in/./a.jpg",
                           "https://h/in/.",
                           "https://h/in/%2e%2e/a.jpg",
                           "https://h/in/%2E./a.jpg",
                           "https://h/in/..%2fa.jpg",
                           "https://h/in%2Fa.jpg",
                           "https://h/in/%5ca.jpg",
                           "https://h/in/%252e%252e/a.jpg",
                           "https://h/in/a%00.jpg",
                           "https://h/in/a%0d%0a.jpg",
                           "https://h/in/a%zz.jpg",
                           "https://h/in/a%4",
                           "https://h/in/a.jpg#x",
                           "https://h/in/a b.jpg",
                           "https://h/in/a\n.jpg",
                           "https://h/in/\xC3\xA4.jpg",
                           "https://h?/in/a.jpg",
                           "https://h\t/in/a.jpg",
                           "https://[::1/in/a.jpg",
                           "https://::1/in/a.jpg",
                           "https://[]/in/a.jpg",
                           "https://[g::1]/in/a.jpg/..",
                           "https://h%2eexample/in/a.jpg"}) {
    EXPECT_FALSE(ParseWebAddress(text)) << text;
  }
  EXPECT_FALSE(ParseWebAddress("https://h/" + std::string(3000, 'a')));
}

TEST(PlacesTest, AddressesOfOnePrefix) {
  Places places;
  places.AddAddress(ParseWebAddress("https://Photos.example/in").value());
  places.AddAddress(ParseWebAddress("http://[::1]:8080/").value());
  const auto has = [&](const char* text) {
    const auto address = ParseWebAddress(text);
    return address && places.HasAddress(*address);
  };
  for (const char* text :
       {"https://photos.example/in/a.jpg", "https://PHOTOS.example:443/in/b/%C3%A4%20b.jpg",
        "https://photos.example/in/a.jpg?key=a%2Fb", "http://[::1]:8080/a", "http://[::1]:8080/~a/b"}) {
    EXPECT_TRUE(has(text)) << text;
  }
  for (const char* text :
       {"https://photos.example/in", "https://photos.example/in/", "https://photos.example/inn/a.jpg",
        "https://photos.example/IN/a.jpg", "https://photos.example/", "http://photos.example/in/a.jpg",
        "https://photos.example:444/in/a.jpg", "https://photos.example:80/in/a.jpg",
        "https://a.photos.example/in/a.jpg", "https://photos.example.evil/in/a.jpg", "https://photos.example./in/a.jpg",
        "https://evil/in/a.jpg", "https://evil/?https://photos.example/in/a.jpg", "https://photos.example/?/in/a.jpg",
        "http://[::1]/a", "http://[::2]:8080/a", "http://127.0.0.1:8080/a"}) {
    EXPECT_FALSE(has(text)) << text;
  }
  EXPECT_FALSE(places.HasPath("/in/a.jpg"));
}

}  // namespace
}  // namespace qx::worker
