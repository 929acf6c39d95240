// What libvtek-update.so exports.

#include "Update.h"

extern "C" __attribute__((visibility("default"))) vtek::UpdateSteps* vtek_begin_update(const vtek::Root& root,
                                                                                       int folder,
                                                                                       std::time_t now);

vtek::UpdateSteps* vtek_begin_update(const vtek::Root& root, int folder, std::time_t now) {
    return new vtek::Update(root, folder, now);
}
