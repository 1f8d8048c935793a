// SPDX-License-Identifier: MIT

#include "qorutil/system.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include <arpa/inet.h>
#include <fcntl.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

class Socket {
 public:
  // Close-on-exec in a call of its own: the type is SOCK_STREAM and no more.
  Socket() : descriptor(socket(AF_INET, SOCK_STREAM, 0)) {
    if (isOpen()) {
      fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    }
  }

  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;

  ~Socket() {
    if (isOpen()) {
      close(descriptor);
    }
  }

  bool isOpen() const { return descriptor != -1; }

  int get() const { return descriptor; }

 private:
  int descriptor;
};

#ifdef __GLIBC__
// The guarded copy is called by its own name, so that it does not depend on
// the optimiser and the fortification of a build.
void setName(ifreq& request, const char* interfaceName) {
  // NOLINTNEXTLINE(clang-analyzer-security.insecureAPI.strcpy): it is bounded
  __builtin___strcpy_chk(request.ifr_name, interfaceName,
                         sizeof(request.ifr_name));
}
#else
// Other C libraries have no guarded copy; the process ends as under that one.
void setName(ifreq& request, const char* interfaceName) {
  const std::size_t size = std::strlen(interfaceName) + 1;
  if (size > sizeof(request.ifr_name)) {
    std::cerr << "*** buffer overflow detected ***: terminated" << std::endl;
    std::abort();
  }
  std::memcpy(request.ifr_name, interfaceName, size);
}
#endif

std::string queryInterface(const char* interfaceName, unsigned long code,
                           const char* message) {
  const Socket socket;
  if (!socket.isOpen()) {
    const int error = errno;
    std::cerr << message << std::strerror(error) << std::endl;
    return {};
  }
  ifreq request;
  std::memset(&request, 0, sizeof(request));
  setName(request, interfaceName);
  request.ifr_addr.sa_family = AF_INET;
  if (ioctl(socket.get(), code, &request) != 0) {
    return {};
  }
  sockaddr_in address{};
  std::memcpy(&address, &request.ifr_addr, sizeof(address));
  return inet_ntoa(address.sin_addr);
}

}  // namespace

std::string getIpAddress(const char* interfaceName) {
  return queryInterface(interfaceName, SIOCGIFADDR, "[ERROR] getIpAddress: ");
}

std::string getSubNetMask(const char* interfaceName) {
  return queryInterface(interfaceName, SIOCGIFNETMASK,
                        "[ERROR] getSubNetMask: ");
}
