#include "ProcessHeap.h"

#include <malloc.h>

#include <climits>

void prepareHeapForTrees() {
    mallopt(M_MXFAST, 0);
    mallopt(M_TRIM_THRESHOLD, INT_MAX);
}
