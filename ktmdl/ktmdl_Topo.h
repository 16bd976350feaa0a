//! @file
//! Persistent references to edges, faces and bodies of host documents, and their registry.

#pragma once

#include "com/Com.h"
#include "ktmdl/Hnd_ktmdl_Topo.h"
#include "ktmdl/ktmdl_BBox3d.h"
#include "ktmdl/ktmdl_Export.h"
#include "ktmdl/ktmdl_TopoHSeq.h"
#include "ktmdl/ktmdl_Vec3d.h"
#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_TShared.h"
#include "ktstd/ktstd_Type.h"

#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <memory>

class ktmdl_TopoMap;
class ktstd_Archive;

//! Gives the descriptor of ktmdl_Topo.
KTMDL_EXPORT Hnd_ktstd_Type& ktmdl_Topo_Type_();

//! A reference to one edge, face or body of a host document, which outlives the document's session.
//!
//! It remembers the host's reference key, and while the document is open the live object. One
//! registry in the process holds every reference that New made or an archive brought, so that the
//! same host object always yields the same reference. A reference is bound (live object and
//! document known), knows its document only, or is unbound (its document's name only).
//!
//! Used through Hnd_ktmdl_Topo; not copied. Neither references nor the registry may be used by two
//! threads at once. Lengths are the host's.
class KTMDL_EXPORT ktmdl_Topo : public ktstd_TShared
{
public:
    //! Makes a reference without key: unbound, of unknown type, not registered.
    ktmdl_Topo();
    ktmdl_Topo(const ktmdl_Topo&) = delete;
    ktmdl_Topo& operator=(const ktmdl_Topo&) = delete;
    ~ktmdl_Topo() override;

    //! Writes the reference to an archive or reads it from one.
    //! Storing fills an empty document name from the document first, when that is known. Loading
    //! enters the reference in the registry as soon as its key is read, beside any other of the
    //! same key, and leaves it unbound; a record that fails behind its key leaves it there as far
    //! as it was read.
    //! @throws ktstd_fail_FileIO  code 16 bad class version, 17 missing end of class; a damaged
    //!                            record; storing a key whose length doesn't fit its field
    //! @throws _com_error         storing: the document's name can't be read
    void Serialize(ktstd_Archive& aArchive) override;

    KTSTD_DECLARE_TYPE(ktmdl_Topo)

    //! Gives the reference with a key: the registered one, else a new one, which is registered.
    //! @param aSize  key length in bytes; a new reference keeps its low 16 bits
    //! @param aKey   one-dimensional array of at least aSize bytes; borrowed
    //! @throws _com_error  the array can't be copied; nothing is registered then
    static Hnd_ktmdl_Topo New(long aSize, SAFEARRAY* aKey);
    //! As above.
    //! @param aSize   key length in bytes
    //! @param aKey    one-dimensional array of at least aSize bytes; borrowed
    //! @param aIsNew  receives 1 when a reference was made, else 0; 0 when the call fails
    static Hnd_ktmdl_Topo New(long aSize, SAFEARRAY* aKey, unsigned char& aIsNew);
    //! Gives the reference to a live host object, found by the object's key or made, and binds it
    //! to the object. Its type and document stay as they are.
    //! @throws _com_error  the object is null or its key can't be had; the registry is unchanged
    static Hnd_ktmdl_Topo New(const IDispatchPtr& aObject);
    //! As above.
    //! @param aObject  edge, face or body
    //! @param aIsNew   receives 1 when a reference was made, else 0
    static Hnd_ktmdl_Topo New(const IDispatchPtr& aObject, unsigned char& aIsNew);

    //! Gives the hash of a key: h = h * 5 + byte from first to last, modulo 2^32; 0 when empty.
    [[nodiscard]] static unsigned int HashKey(long aSize, const unsigned char* aKey) noexcept;
    //! Tells whether this reference has the given key, byte for byte.
    [[nodiscard]] unsigned char IsEqual(long aSize, const unsigned char* aKey) const noexcept
    {
        return mKeySize == aSize &&
                       (aSize <= 0 || std::memcmp(mKey, aKey, static_cast<std::size_t>(aSize)) == 0)
                   ? 1
                   : 0;
    }

    //! Takes a reference out of the registry; gives 1 when it was there.
    //! @throws ktstd_fail_NullObject  the handle is null and the registry is not empty
    static unsigned char RemoveFromMap(const Hnd_ktmdl_Topo& aTopo);
    //! Empties the registry. References that are held elsewhere live on.
    static void ClearAllTopos();
    //! Takes out of the registry every reference that nothing else holds. The children of one that
    //! goes follow at the next call.
    static void ClearUnusedToposOnly();
    //! Refreshes the key of every registered reference that has a live object. Failures are logged;
    //! none leaves. One of the host's leaves its reference as it was and the walk goes on, a
    //! kernel failure ends it.
    static void BindAllToposInMap();

    //! Caches what a saved reference needs of its live object: the box, and by type the references
    //! of its edges and faces, which are made, bound and marked as children.
    //! @return             0; -1 when the type is not 1 to 7 (the box is set, the lists are null)
    //! @throws _com_error  a host call failed; the list in work is dropped, one finished before it
    //!                     stays
    long BuildPersistentData();
    //! Binds the reference again in its document.
    //! @return             0 the document was asked; mDispTopo tells whether the reference is bound
    //!                     (a failure is logged). -1 no document or no name is known, or the type
    //!                     is not 1 to 7
    //! @throws _com_error  the document's name can't be read
    long UpdateDispatch();

    //! Unbinds the references of a document that closes or is renamed. Unbound references lose
    //! their document, whichever it was.
    //! @param aDocument  the document
    //! @param aName      its name; when empty and a session exists, receives the full name
    //! @return           0
    //! @throws _com_error  the document's name can't be read, or a document does not tell its
    //!                     identity; references before that one are unbound already
    static long DisconnectDocument(const IDispatchPtr& aDocument, ktstd_AsciiString& aName);
    //! Binds the references of a document that was opened again: those of the same name, and those
    //! without a name that hold this very document. Failures of single references are logged.
    //! @param aDocument  the document
    //! @param aName      its name; when empty and a session exists, receives the full name
    //! @return           0
    //! @throws _com_error  the document's name can't be read
    static long ReconnectDocument(const IDispatchPtr& aDocument, ktstd_AsciiString& aName);

    //! Binds the reference in a document if it belongs there: its document name is the given one,
    //! or it has none and holds this very document. Needed by UpdateDispatch and ReconnectDocument;
    //! add-ins call those.
    //! @param aDocument  the document; becomes the reference's
    //! @param aName      its name; becomes the reference's
    //! @return           0 bound, or it belongs elsewhere (nothing changed), or the host failed
    //!                   (logged, unbound), which mDispTopo tells; 1 it knows neither name nor
    //!                   document; -1 the type is not 1 to 7
    long UpdateDocDispatches(const IDispatchPtr& aDocument, ktstd_AsciiString& aName);
    //! Takes the key anew from the live object, if there is one, and registers the reference under
    //! it, beside any other of the same key. Needed by BindAllToposInMap. A failure of the host is
    //! logged; past a failed copy of the new key the reference keeps its old key and is not
    //! registered. When memory runs out, a registered reference stays as it was.
    void UpdateReferenceKey();

    //! Hook for converting old record versions; there is nothing to convert.
    //! @return  0
    long ConvertVersion(long aVersion) noexcept;

    //! Asks a host object for its exact box.
    //! @param aObject  edge, face or body; may be null
    //! @return         corners as the host gives them; the default box when the object is null, has
    //!                 no range or fails (logged)
    [[nodiscard]] static ktmdl_BBox3d BuildBBox(const IDispatchPtr& aObject);
    //! Asks the host for the normal of the referenced face at a point of it.
    //! @return  unit normal, oriented as the host gives it; the zero vector when the face has no
    //!          facets or the host fails (logged); as the host gives it when it is too short to be
    //!          normalised (logged)
    [[nodiscard]] ktmdl_Vec3d BuildNormal() const;
    //! Asks the host whether the referenced edge is closed.
    //! @return  1 closed; 0 open, not an edge (no host call), or the host fails (logged)
    [[nodiscard]] unsigned char IsClosed() const;

    //! Compares the cached children with those of the live object, and the boxes with the default
    //! box. So numbers and identities of children are real, but every box that is cached counts as
    //! changed, the reference's own and its children's; with the quick flag that is all that is
    //! told. Children are made, bound and given the box they lack; else nothing changes.
    //! @param aQuick         other than 0: return at the first difference
    //! @param aBox           receives the default box
    //! @param aEdges         receives every current edge, in the host's order
    //! @param aGoneEdges     receives the cached edges that are gone
    //! @param aNewEdges      receives the edges that are new
    //! @param aAlteredEdges  receives the known edges that have a box
    //! @param aFaces         receives every current face, in the host's order
    //! @param aGoneFaces     receives the cached faces that are gone
    //! @param aNewFaces      receives the faces that are new
    //! @param aAlteredFaces  receives the known faces that have a box. The ten arguments are ten
    //!                       objects; a list may not stand for two of them.
    //! @return  bits: 1 box, 2 edges new or another number, 4 an edge's box, 8 faces new or another
    //!          number, 16 a face's box. A face is compared by its edges, a body by its faces; the
    //!          arguments of the other group are left as they are.
    //! @throws _com_error              a host call failed; lists made before stay with what they
    //!                                 hold
    //! @throws ktstd_fail_ProgramError the type is not 1 to 7
    unsigned char HasChanged(unsigned char aQuick, ktmdl_BBox3d& aBox, Hnd_ktmdl_TopoHSeq& aEdges,
                             Hnd_ktmdl_TopoHSeq& aGoneEdges, Hnd_ktmdl_TopoHSeq& aNewEdges,
                             Hnd_ktmdl_TopoHSeq& aAlteredEdges, Hnd_ktmdl_TopoHSeq& aFaces,
                             Hnd_ktmdl_TopoHSeq& aGoneFaces, Hnd_ktmdl_TopoHSeq& aNewFaces,
                             Hnd_ktmdl_TopoHSeq& aAlteredFaces);

    std::int16_t mKeySize{0};        //!< number of bytes in mKey
    unsigned char* mKey{nullptr};    //!< the host's reference key, owned; null when there is none
    IDispatchPtr mDispTopo;          //!< the live object, null while unbound
    unsigned char tplType{0};        //!< 0 unknown, 1-2 edge (2), 3-5 face (5), 6-7 body
    ktmdl_BBox3d mBBox;              //!< box as last cached
    unsigned char mIsSubTopo{0};     //!< 1 on references made as children of another
    Hnd_ktmdl_TopoHSeq mSubTopos[2]; //!< references of the edges, of the faces; null until built
    ktstd_AsciiString mDocName;      //!< name of the owning document, empty until it is needed
    IDispatchPtr mDispDoc;           //!< the owning document while it is open

protected:
    //! Makes an unregistered reference with a copy of a key.
    //! @param aSize  key length; its low 16 bits are kept, on purpose
    //! @param aKey   aSize bytes; null makes a reference without key
    ktmdl_Topo(long aSize, const unsigned char* aKey);
    //! Makes an unregistered reference with a key taken from an array.
    //! @param aSize  key length; below 1 makes a reference without key
    //! @param aKey   one-dimensional array of at least aSize bytes; borrowed
    //! @throws _com_error  the array can't be copied
    ktmdl_Topo(long aSize, SAFEARRAY* aKey);

private:
    friend class ktmdl_TopoMap; // counts the sets

    struct ChildGroup;
    struct ChangeLists;

    void setKey(long aSize, const unsigned char* aKey);
    void takeKey(long aSize, std::unique_ptr<unsigned char[]> aKey) noexcept;
    void fillDocName();
    void bindIn(const IDispatchPtr& aDocument);
    void disconnectFrom(const IDispatchPtr& aDocument, const ktstd_AsciiString& aName);
    [[nodiscard]] IDispatchPtr childCollection(const ChildGroup& aGroup) const;
    [[nodiscard]] Hnd_ktmdl_Topo adoptChild(const ChildGroup& aGroup,
                                            const IDispatchPtr& aItem) const;
    [[nodiscard]] Hnd_ktmdl_TopoHSeq buildChildren(const ChildGroup& aGroup) const;
    unsigned char compareChildren(const ChildGroup& aGroup, bool aQuick,
                                  const ChangeLists& aLists) const;
    void storeFields(ktstd_Archive& aArchive);
    void loadFields(ktstd_Archive& aArchive);

    std::uint32_t mNbSets{0}; //!< number of sets that hold this reference
    bool mIsRekeyed{false};   //!< whether it got another key while a set held it
};

//! Writes a reference to the diagnostic log: one line with the name, which tells when the handle is
//! null. An edge with a live object is also asked for its parameters; nothing of that is printed.
//! Failures of the host are logged; none leaves.
//! @param aName  label; null prints as empty
KTMDL_EXPORT void ShowVariable(const char* aName, const Hnd_ktmdl_Topo& aTopo);
