#include "PeerProtocol.h"

namespace peer {

namespace {
void* onCreate(void* args) {
    return args;
}
void onDestroy(void* /*user_data*/) {}
}  // namespace

AIBinder_Class* defineClass(const char* descriptor, AIBinder_Class_onTransact on_transact) {
    return AIBinder_Class_define(descriptor, onCreate, onDestroy, on_transact);
}

}  // namespace peer
