//! @file
//! Run-time type descriptors, and the two macros with which a class gets its own.
#pragma once

#include "ktstd/ktstd_Export.h"
#include "ktstd/ktstd_Handle.h"
#include "ktstd/ktstd_Transient.h"

#include <string>
#include <vector>

class ktstd_Type;
KTSTD_HANDLE(ktstd_Type, Hnd_ktstd_Transient)

//! Describes one class: name, size and ancestors.
//! Each class has one descriptor, made when it is first asked for; classes are the same exactly
//! when their descriptors are the same object, whatever their names.
class KTSTD_EXPORT ktstd_Type : public ktstd_Transient
{
public:
    //! @param aName       class name; copied
    //! @param aSize       bytes of an object
    //! @param aNbParents  number of direct parents: 1, for the root 0
    //! @param aAncestors  array of Hnd_ktstd_Type, nearest ancestor first, ended by a null handle;
    //!                    borrowed for the descriptor's life; null stands for an empty one
    ktstd_Type(const char* aName, long aSize, long aNbParents, void* aAncestors);
    ktstd_Type(const ktstd_Type&) = delete;
    ktstd_Type& operator=(const ktstd_Type&) = delete;
    ~ktstd_Type() override;

    [[nodiscard]] const Hnd_ktstd_Type& DynamicType() const override;
    [[nodiscard]] unsigned char IsKind(const Hnd_ktstd_Type& aType) const override;
    //! Gives the descriptor of descriptors.
    [[nodiscard]] static Hnd_ktstd_Type& TypeOfClass();

    //! Gives the class name.
    [[nodiscard]] const char* Name() const noexcept { return mName.c_str(); }
    //! Gives the bytes of an object.
    [[nodiscard]] long Size() const noexcept { return mSize; }
    //! Gives the number of direct parents.
    [[nodiscard]] long NbParents() const noexcept { return mNbParents; }
    //! Gives the ancestors, nearest first, ended by a null handle; never null.
    [[nodiscard]] const Hnd_ktstd_Type* Ancestors() const noexcept { return mAncestors; }
    //! Tells whether this class is the given one or derives from it: 1 or 0.
    [[nodiscard]] unsigned char IsSubType(const Hnd_ktstd_Type& aType) const noexcept;

private:
    std::string mName;
    long mSize;
    long mNbParents;
    const Hnd_ktstd_Type* mAncestors; //!< borrowed, ended by a null handle
};

//! Gives the descriptor of ktstd_Type.
KTSTD_EXPORT Hnd_ktstd_Type& ktstd_Type_Type_();

//! The ancestors of a class: its parent, the parent's own ancestors, and a closing null handle.
class KTSTD_EXPORT ktstd_TypeAncestors
{
public:
    //! @param aParent  descriptor of the parent class
    explicit ktstd_TypeAncestors(const Hnd_ktstd_Type& aParent);

    //! Gives the array in the form that a descriptor is made with; borrowed.
    [[nodiscard]] void* Array() noexcept { return mAncestors.data(); }

private:
    std::vector<Hnd_ktstd_Type> mAncestors;
};

//! Stands, without a semicolon, in the public part of a shared class and declares its run-time type
//! support.
//! CLASS_Type_(), its free type function, is declared beside the class with the library's export
//! mark; KTSTD_DEFINE_TYPE defines all of them.
#define KTSTD_DECLARE_TYPE(CLASS)                                                                  \
    [[nodiscard]] const Hnd_ktstd_Type& DynamicType() const override;                              \
    [[nodiscard]] unsigned char IsKind(const Hnd_ktstd_Type& aType) const override;                \
    [[nodiscard]] static Hnd_ktstd_Type& TypeOfClass();

//! Defines the run-time type support of a shared class; stands once, in its source.
#define KTSTD_DEFINE_TYPE(CLASS, PARENT)                                                           \
    Hnd_ktstd_Type& CLASS##_Type_()                                                                \
    {                                                                                              \
        struct Descriptor                                                                          \
        {                                                                                          \
            Descriptor()                                                                           \
                : ancestors(PARENT##_Type_()),                                                     \
                  type(new ktstd_Type(#CLASS, static_cast<long>(sizeof(CLASS)), 1,                 \
                                      ancestors.Array()))                                          \
            {}                                                                                     \
            ktstd_TypeAncestors ancestors;                                                         \
            Hnd_ktstd_Type type;                                                                   \
        };                                                                                         \
        static Descriptor sDescriptor;                                                             \
        return sDescriptor.type;                                                                   \
    }                                                                                              \
    Hnd_ktstd_Type& CLASS::TypeOfClass()                                                           \
    {                                                                                              \
        return CLASS##_Type_();                                                                    \
    }                                                                                              \
    const Hnd_ktstd_Type& CLASS::DynamicType() const                                               \
    {                                                                                              \
        return CLASS##_Type_();                                                                    \
    }                                                                                              \
    unsigned char CLASS::IsKind(const Hnd_ktstd_Type& aType) const                                 \
    {                                                                                              \
        return aType == CLASS##_Type_() ? static_cast<unsigned char>(1) : PARENT::IsKind(aType);   \
    }
