// A catalog of any bytes: what it answers lies in it, or says that there is no such message.

#include "quonutil/catalog/XPG4MsgServer.h"
#include "tests/models/Model.h"

void check(std::string const& bytes) {
  std::string const path = fileOf(bytes);
  XPG4MsgServer const server(nullptr, path.c_str());
  for (int i = 0; i < 25; ++i) {
    int const set = i / 5 - 1, number = i % 5 - 1;
    std::string const answer = bytesOf(server.message(set, number));
    std::string const missing =
        path + ": no message " + std::to_string(number) + " in set " + std::to_string(set);
    require(answer == missing ||
            (server.isOpen() && bytes.find(answer + '\0') != std::string::npos));
  }
}
