// vtappsvr.dll, the host library the add-in asks for the workstation's IP
// address: ReadTcp(first, buffer) writes the first IPv4 address that is not a
// loopback one, NUL-terminated, into the caller's 64-byte buffer and returns 1.
#include <winsock2.h>
#include <ws2tcpip.h>
#include <iphlpapi.h>
#include <windows.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kBufferSize = 64;

std::string dotted(const in_addr& a) {
  const unsigned char* b = reinterpret_cast<const unsigned char*>(&a.s_addr);
  char text[16];
  std::snprintf(text, sizeof text, "%u.%u.%u.%u", b[0], b[1], b[2], b[3]);
  return text;
}

bool isLoopback(const in_addr& a) { return reinterpret_cast<const unsigned char*>(&a.s_addr)[0] == 127; }

std::string fromAdapters() {
  ULONG size = 16 * 1024;
  std::vector<unsigned char> buf;
  ULONG flags = GAA_FLAG_SKIP_ANYCAST | GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_SKIP_DNS_SERVER;
  ULONG r = ERROR_BUFFER_OVERFLOW;
  for (int attempt = 0; attempt < 3 && r == ERROR_BUFFER_OVERFLOW; ++attempt) {
    buf.assign(size, 0);
    r = GetAdaptersAddresses(AF_INET, flags, nullptr, reinterpret_cast<IP_ADAPTER_ADDRESSES*>(buf.data()), &size);
  }
  if (r != NO_ERROR) return {};
  for (auto* a = reinterpret_cast<IP_ADAPTER_ADDRESSES*>(buf.data()); a; a = a->Next) {
    if (a->IfType == IF_TYPE_SOFTWARE_LOOPBACK || a->OperStatus != IfOperStatusUp) continue;
    for (auto* u = a->FirstUnicastAddress; u; u = u->Next) {
      const sockaddr* sa = u->Address.lpSockaddr;
      if (!sa || sa->sa_family != AF_INET) continue;
      const in_addr& addr = reinterpret_cast<const sockaddr_in*>(sa)->sin_addr;
      if (!isLoopback(addr)) return dotted(addr);
    }
  }
  return {};
}

std::string fromHostName() {
  WSADATA wsa;
  if (WSAStartup(MAKEWORD(2, 2), &wsa) != 0) return {};
  std::string found;
  char name[256];
  if (gethostname(name, sizeof name) == 0) {
    if (hostent* h = gethostbyname(name)) {
      if (h->h_addrtype == AF_INET) {
        for (char** p = h->h_addr_list; p && *p; ++p) {
          in_addr a;
          std::memcpy(&a, *p, sizeof a);
          if (!isLoopback(a)) {
            found = dotted(a);
            break;
          }
        }
      }
    }
  }
  WSACleanup();
  return found;
}

}  // namespace

extern "C" long __stdcall ReadTcp(char* first, char* buffer) {
  (void)first;  // the add-in passes an empty string
  if (!buffer) return 0;
  std::string ip = fromAdapters();
  if (ip.empty()) ip = fromHostName();
  if (ip.empty()) ip = "127.0.0.1";
  if (ip.size() > kBufferSize - 1) ip.resize(kBufferSize - 1);
  std::memcpy(buffer, ip.c_str(), ip.size() + 1);
  return 1;
}
