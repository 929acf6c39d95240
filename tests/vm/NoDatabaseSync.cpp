// Preload library: turns fdatasync, which makes a database's commit durable, into a no-op.

#include <unistd.h>

extern "C" int fdatasync(int) {
    return 0;
}
