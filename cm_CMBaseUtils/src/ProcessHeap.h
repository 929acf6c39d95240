#pragma once

/**
 * Sets the C library's memory for a short program that builds trees of many small pieces, and takes them down
 * again: freed pieces are put together at once, not all together when the next tree is begun, and stay with
 * the process. Call it once, before the first tree.
 */
void prepareHeapForTrees();
