// KoObject: the root class and its C-heap allocation operators.
#include "kolib/object.h"

KoObject::~KoObject() {}

int16_t KoObject::compare(const KoObject*) const {
    return 0;
}

void* KoObject::operator new(std::size_t size) noexcept {
    return ramMalloc(size);
}
void* KoObject::operator new[](std::size_t size) noexcept {
    return ramMalloc(size);
}
void* KoObject::operator new(std::size_t size, RamInitType init) noexcept {
    return init == RAM_INIT_ZERO ? ramCalloc(size) : ramMalloc(size);
}
void KoObject::operator delete(void* block) noexcept {
    ramFree(block);
}
void KoObject::operator delete[](void* block) noexcept {
    ramFree(block);
}
void KoObject::operator delete(void* block, RamInitType) noexcept {
    ramFree(block);
}
