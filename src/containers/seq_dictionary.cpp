// KoSeqDictionary: associations appended in order to a KoArray and searched linearly from
// index 0, so the first association with a key wins. Absent keys give the count as index.
#include "kolib/seq_dictionary.h"
#include "kolib/substring.h"

namespace {
inline KoAssociation* asAssoc(KoObject* slot) {
    return static_cast<KoAssociation*>(slot);
}
} // namespace

KoSeqDictionary::~KoSeqDictionary() {
    deleteContents();
}

unsigned KoSeqDictionary::append(KoAssociation* assoc) {
    if (!assoc) return 1;
    if (add(assoc)) {
        delete assoc;
        return 1;
    }
    return 0;
}

unsigned KoSeqDictionary::addAssoc(unsigned long key, unsigned long data) {
    return append(new KoIntIntKey(key, data));
}

unsigned KoSeqDictionary::addAssoc(unsigned long key, KoObject* data) {
    return append(new KoIntPtrKey(key, data));
}

unsigned KoSeqDictionary::addAssoc(KoSubString* key, KoObject* data) {
    return append(new KoSubPtrKey(key, data));
}

unsigned long KoSeqDictionary::getIndexForKey(unsigned long key) const {
    for (uint32_t i = 0; i < NextIndex; ++i)
        if (asAssoc(ArrayOfPtrs[i])->isEqual(key)) return i;
    return NextIndex;
}

unsigned long KoSeqDictionary::getIndexForKey(const KoSubString* key) const {
    for (uint32_t i = 0; i < NextIndex; ++i) {
        KoAssociation* assoc = asAssoc(ArrayOfPtrs[i]);
        if (CaseInsensitive ? assoc->isEqualCi(key) : assoc->isEqual(key)) return i;
    }
    return NextIndex;
}

unsigned long KoSeqDictionary::getIndexForKey(const KoSubString& key) const {
    return getIndexForKey(&key);
}

void KoSeqDictionary::changeData(unsigned long key, unsigned long data) {
    unsigned long index = getIndexForKey(key);
    if (index < NextIndex) asAssoc(ArrayOfPtrs[index])->changeData(data);
}

void KoSeqDictionary::changeData(const KoSubString& key, KoObject* data) {
    unsigned long index = getIndexForKey(&key);
    if (index < NextIndex) asAssoc(ArrayOfPtrs[index])->changeData(data);
}

int KoSeqDictionary::doesExist(unsigned long key) const {
    return getIndexForKey(key) < NextIndex;
}

int KoSeqDictionary::doesExist(const KoSubString* key) const {
    return getIndexForKey(key) < NextIndex;
}

unsigned long KoSeqDictionary::getIntForKey(unsigned long key) const {
    unsigned long index = getIndexForKey(key);
    return index < NextIndex ? asAssoc(ArrayOfPtrs[index])->getIntData() : 0;
}

KoObject* KoSeqDictionary::getPtrForKey(unsigned long key) const {
    unsigned long index = getIndexForKey(key);
    return index < NextIndex ? asAssoc(ArrayOfPtrs[index])->getPtrData() : nullptr;
}

KoObject* KoSeqDictionary::getPtrForKey(const KoSubString* key) const {
    unsigned long index = getIndexForKey(key);
    return index < NextIndex ? asAssoc(ArrayOfPtrs[index])->getPtrData() : nullptr;
}

KoObject* KoSeqDictionary::getPtrDataAtIndex(unsigned long index) const {
    return asAssoc(ArrayOfPtrs[index])->getPtrData();
}

unsigned long KoSeqDictionary::getIntDataAtIndex(unsigned long index) const {
    return asAssoc(ArrayOfPtrs[index])->getIntData();
}

KoSubString* KoSeqDictionary::getSubKeyAtIndex(unsigned long index) const {
    return asAssoc(ArrayOfPtrs[index])->getSubKey();
}

unsigned long KoSeqDictionary::getIntKeyAtIndex(unsigned long index) const {
    return asAssoc(ArrayOfPtrs[index])->getIntKey();
}

void KoSeqDictionary::deleteKeyAndData() {
    for (uint32_t i = NextIndex; i-- > 0;) {
        KoAssociation* assoc = asAssoc(ArrayOfPtrs[i]);
        if (assoc) {
            assoc->deleteKeyAndData();
            delete assoc;
        }
        ArrayOfPtrs[i] = nullptr;
    }
    NextIndex = 0;
}

void KoSeqDictionary::deleteKeyAndDataAtIndex(unsigned long index) {
    if (index >= NextIndex) return;
    KoAssociation* assoc = asAssoc(ArrayOfPtrs[index]);
    if (assoc) assoc->deleteKeyAndData();
    deleteAtIndex(index);
}
