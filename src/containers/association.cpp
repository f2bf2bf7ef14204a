// The association classes. Equality between two associations is double dispatch: an
// association asks the other one to compare itself with this one's key, so integer and text
// associations never match each other.
#include "kolib/association.h"
#include "kolib/substring.h"

KoAssociation::~KoAssociation() {}
int KoAssociation::isEqual(const KoAssociation*) const {
    return 0;
}
int KoAssociation::isEqualCi(const KoAssociation*) const {
    return 0;
}
int KoAssociation::isEqual(const KoSubString*) const {
    return 0;
}
int KoAssociation::isEqualCi(const KoSubString*) const {
    return 0;
}
int KoAssociation::isEqual(unsigned long) const {
    return 0;
}
unsigned long KoAssociation::getIntKey() const {
    return 0;
}
unsigned long KoAssociation::getIntData() const {
    return 0;
}
KoSubString* KoAssociation::getSubKey() const {
    return nullptr;
}
KoObject* KoAssociation::getPtrData() const {
    return nullptr;
}
void KoAssociation::changeData(unsigned long) {}
void KoAssociation::changeData(KoObject*) {}
unsigned long KoAssociation::hash() const {
    return 0;
}
void KoAssociation::deleteKeyAndData() {}

int KoIntIntKey::isEqual(const KoAssociation* other) const {
    return other->isEqual(getIntKey());
}
int KoIntIntKey::isEqualCi(const KoAssociation* other) const {
    return other->isEqual(getIntKey());
}
int KoIntIntKey::isEqual(unsigned long key) const {
    return Key == static_cast<uint32_t>(key);
}
unsigned long KoIntIntKey::getIntKey() const {
    return Key;
}
unsigned long KoIntIntKey::getIntData() const {
    return Data;
}
void KoIntIntKey::changeData(unsigned long data) {
    Data = static_cast<uint32_t>(data);
}
unsigned long KoIntIntKey::hash() const {
    return Key;
}

int KoIntPtrKey::isEqual(const KoAssociation* other) const {
    return other->isEqual(getIntKey());
}
int KoIntPtrKey::isEqualCi(const KoAssociation* other) const {
    return other->isEqual(getIntKey());
}
int KoIntPtrKey::isEqual(unsigned long key) const {
    return Key == static_cast<uint32_t>(key);
}
unsigned long KoIntPtrKey::getIntKey() const {
    return Key;
}
KoObject* KoIntPtrKey::getPtrData() const {
    return Data;
}
void KoIntPtrKey::changeData(KoObject* data) {
    Data = data;
}
unsigned long KoIntPtrKey::hash() const {
    return Key;
}
void KoIntPtrKey::deleteKeyAndData() {
    delete Data;
    Data = nullptr;
}

int KoSubPtrKey::isEqual(const KoAssociation* other) const {
    return other->isEqual(Key);
}
int KoSubPtrKey::isEqualCi(const KoAssociation* other) const {
    return other->isEqualCi(Key);
}
int KoSubPtrKey::isEqual(const KoSubString* key) const {
    if (!Key || !key) return Key == key;
    return Key->isEqual(*key);
}
int KoSubPtrKey::isEqualCi(const KoSubString* key) const {
    if (!Key || !key) return Key == key;
    return Key->isEqualCi(*key);
}
KoSubString* KoSubPtrKey::getSubKey() const {
    return Key;
}
KoObject* KoSubPtrKey::getPtrData() const {
    return Data;
}
void KoSubPtrKey::changeData(KoObject* data) {
    Data = data;
}
unsigned long KoSubPtrKey::hash() const {
    return Key ? Key->hash() : 0;
}
void KoSubPtrKey::deleteKeyAndData() {
    delete Key;
    Key = nullptr;
    delete Data;
    Data = nullptr;
}
