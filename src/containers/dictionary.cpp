// KoDictionary: a KoSet whose elements are associations. Integer keys are their own hash;
// text keys hash through KoSubString::hash (first five characters, case folded). Look-ups
// probe the same way KoSet places elements, stopping at an empty slot or a matching key.
#include "kolib/dictionary.h"
#include "kolib/substring.h"

namespace {
// Elements are stored as KoObject pointers in the set's slots.
inline KoAssociation* asAssoc(void* element) {
    return static_cast<KoAssociation*>(static_cast<KoObject*>(element));
}
} // namespace

KoDictionary::~KoDictionary() {
    deleteAssociations(0);
}

uint32_t KoDictionary::doHash(void* element) {
    return static_cast<uint32_t>(asAssoc(element)->hash());
}

int KoDictionary::areEqual(void* a, void* b) {
    return CaseInsensitive ? asAssoc(a)->isEqualCi(asAssoc(b)) : asAssoc(a)->isEqual(asAssoc(b));
}

void KoDictionary::deleteAssociations(int withKeyAndData) {
    KoObject** slots = Contents.ArrayOfPtrs;
    for (uint32_t i = Contents.SizeOfArray; slots && i-- > 0;) {
        if (!slots[i]) continue;
        KoAssociation* assoc = static_cast<KoAssociation*>(slots[i]);
        if (withKeyAndData) assoc->deleteKeyAndData();
        delete assoc;
        slots[i] = nullptr;
    }
    NumOfObjects = 0;
}

unsigned KoDictionary::initialize(unsigned short capacity) {
    uint16_t oldSlots = NumOfSlots;
    unsigned long slots = setCapacity(capacity);
    NumOfSlots = oldSlots;
    KoObject** fresh = allocSlots(slots);
    if (!fresh) return 1;
    deleteAssociations(0);
    installSlots(fresh, slots);
    return 0;
}

void KoDictionary::reset() {
    deleteAssociations(0);
    KoSet::reset();
}

unsigned KoDictionary::addNew(KoAssociation* assoc) {
    if (!assoc) return 1;
    void* replaced;
    if (addElement(static_cast<KoObject*>(assoc), &replaced)) {
        delete assoc;
        return 1;
    }
    // The table forgets an association that an equal key displaced; being ours, it goes.
    delete asAssoc(replaced);
    return 0;
}

unsigned KoDictionary::addAssoc(unsigned long key, unsigned long data) {
    return addNew(new KoIntIntKey(key, data));
}

unsigned KoDictionary::addAssoc(unsigned long key, KoObject* data) {
    return addNew(new KoIntPtrKey(key, data));
}

unsigned KoDictionary::addAssoc(KoSubString* key, KoObject* data) {
    return addNew(new KoSubPtrKey(key, data));
}

namespace {
// Probes from the key's start slot to the first empty slot or matching association. Returns
// the association (null when absent) and leaves the slot where the probe stopped in *slot; a
// full table without the key ends back on the start slot.
template <typename Matches>
KoAssociation* probe(KoDictionary& dict, unsigned long hash, unsigned long* slot, Matches matches) {
    unsigned long slots = dict.NumOfSlots;
    unsigned long at = dict.startIndex(hash);
    *slot = at;
    KoObject** table = dict.Contents.ArrayOfPtrs;
    for (unsigned long probes = 0; probes < slots; ++probes) {
        KoAssociation* assoc = static_cast<KoAssociation*>(table[at]);
        if (!assoc) break;
        if (matches(assoc)) {
            *slot = at;
            return assoc;
        }
        at = at ? at - 1 : slots - 1;
        *slot = at;
    }
    return nullptr;
}
} // namespace

KoAssociation* KoDictionary::findAssoc(unsigned long key) {
    uint32_t wanted = static_cast<uint32_t>(key);
    unsigned long slot;
    KoAssociation* assoc = probe(*this, wanted, &slot,
                                 [wanted](KoAssociation* a) { return a->getIntKey() == wanted; });
    CurrentIndex = static_cast<uint16_t>(slot);
    return assoc;
}

KoAssociation* KoDictionary::findAssoc(const KoSubString* key) {
    unsigned long slot;
    KoAssociation* assoc =
        CaseInsensitive
            ? probe(*this, key->hash(), &slot,
                    [key](KoAssociation* a) { return a->isEqualCi(key); })
            : probe(*this, key->hash(), &slot, [key](KoAssociation* a) { return a->isEqual(key); });
    CurrentIndex = static_cast<uint16_t>(slot);
    return assoc;
}

unsigned long KoDictionary::getIndexForKey(unsigned long key) {
    findAssoc(key);
    return CurrentIndex;
}

unsigned long KoDictionary::getIndexForKey(const KoSubString* key) {
    findAssoc(key);
    return CurrentIndex;
}

int KoDictionary::doesExist(unsigned long key) {
    return findAssoc(key) != nullptr;
}

int KoDictionary::doesExist(const KoSubString* key) {
    return findAssoc(key) != nullptr;
}

unsigned long KoDictionary::getIntForKey(unsigned long key) {
    KoAssociation* assoc = findAssoc(key);
    return assoc ? assoc->getIntData() : 0;
}

KoObject* KoDictionary::getPtrForKey(unsigned long key) {
    KoAssociation* assoc = findAssoc(key);
    return assoc ? assoc->getPtrData() : nullptr;
}

KoObject* KoDictionary::getPtrForKey(const KoSubString* key) {
    KoAssociation* assoc = findAssoc(key);
    return assoc ? assoc->getPtrData() : nullptr;
}

void KoDictionary::deleteKeyAndData() {
    deleteAssociations(1);
}
