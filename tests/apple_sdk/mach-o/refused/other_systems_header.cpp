// Refused: 'sys/epoll.h' file not found
#include <sys/epoll.h>

int main() {
  return epoll_create1(0);
}
