// Key/data associations held by dictionaries. An association owns its key and data only as far
// as deleteKeyAndData is called; its destructor releases nothing. The base class answers
// false, 0 or nothing to every question.
#pragma once

#include <cstdint>
#include "kolib/object.h"

class KoSubString;

class KO_API KoAssociation : public KoObject {
public:
    ~KoAssociation() override;
    // Equality with another association: the other one compares itself with this one's key.
    virtual int isEqual(const KoAssociation* other) const;
    virtual int isEqualCi(const KoAssociation* other) const;
    // Equality of this association's key with a text key (exact / ignoring case).
    virtual int isEqual(const KoSubString* key) const;
    virtual int isEqualCi(const KoSubString* key) const;
    // Equality of this association's key with an integer key.
    virtual int isEqual(unsigned long key) const;
    virtual unsigned long getIntKey() const;
    virtual unsigned long getIntData() const;
    virtual KoSubString* getSubKey() const;
    virtual KoObject* getPtrData() const;
    virtual void changeData(unsigned long data);
    virtual void changeData(KoObject* data);
    virtual unsigned long hash() const;
    // Deletes what the association points at (key and/or data, each when not null).
    virtual void deleteKeyAndData();
};

// Integer key, integer data; hash = key.
class KO_API KoIntIntKey : public KoAssociation {
public:
    KoIntIntKey(unsigned long key, unsigned long data)
        : Key(static_cast<uint32_t>(key)), Data(static_cast<uint32_t>(data)) {}
    using KoAssociation::changeData;
    using KoAssociation::isEqual;
    using KoAssociation::isEqualCi;
    int isEqual(const KoAssociation* other) const override;
    int isEqualCi(const KoAssociation* other) const override;
    int isEqual(unsigned long key) const override;
    unsigned long getIntKey() const override;
    unsigned long getIntData() const override;
    void changeData(unsigned long data) override;
    unsigned long hash() const override;

    uint32_t Key;
    uint32_t Data;
};

// Integer key, object data; hash = key; deleteKeyAndData deletes the data.
class KO_API KoIntPtrKey : public KoAssociation {
public:
    KoIntPtrKey(unsigned long key, KoObject* data) : Key(static_cast<uint32_t>(key)), Data(data) {}
    using KoAssociation::changeData;
    using KoAssociation::isEqual;
    using KoAssociation::isEqualCi;
    int isEqual(const KoAssociation* other) const override;
    int isEqualCi(const KoAssociation* other) const override;
    int isEqual(unsigned long key) const override;
    unsigned long getIntKey() const override;
    KoObject* getPtrData() const override;
    void changeData(KoObject* data) override;
    unsigned long hash() const override;
    void deleteKeyAndData() override;

    uint32_t Key;
    KoObject* Data;
};

// Text key, object data; hash = the key's hash (its first five characters, case folded);
// deleteKeyAndData deletes the key, then the data.
class KO_API KoSubPtrKey : public KoAssociation {
public:
    KoSubPtrKey(KoSubString* key, KoObject* data) : Key(key), Data(data) {}
    using KoAssociation::changeData;
    using KoAssociation::isEqual;
    using KoAssociation::isEqualCi;
    int isEqual(const KoAssociation* other) const override;
    int isEqualCi(const KoAssociation* other) const override;
    int isEqual(const KoSubString* key) const override;
    int isEqualCi(const KoSubString* key) const override;
    KoSubString* getSubKey() const override;
    KoObject* getPtrData() const override;
    void changeData(KoObject* data) override;
    unsigned long hash() const override;
    void deleteKeyAndData() override;

    KoSubString* Key;
    KoObject* Data;
};
