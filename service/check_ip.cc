#include <arpa/inet.h>
#include <orv/service.h>

int check_ip(const char* text) {
  in_addr address{};
  return text != nullptr && inet_pton(AF_INET, text, &address) == 1 ? ORV_OK : ORV_E_FAILED;
}
