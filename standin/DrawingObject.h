//! @file
//! Automation objects of what a drawing holds, and the bond between them and the drawing.

#pragma once

#include "standin/Drawing.h"
#include "standin/Object.h"

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

namespace standin {

//! Base of the objects in a drawing.
class DrawingObject : public Object
{
public:
    //! @param known  the drawing knows the object and gives it again when asked for the same thing
    DrawingObject(std::shared_ptr<HostState> hostState, const ClassInfo& info, DrawingPtr inDrawing,
                  const Drawn& drawn, bool known);
    ~DrawingObject() override;

    [[nodiscard]] const Drawn& drawn() const noexcept { return subject; }
    [[nodiscard]] const DrawingPtr& drawing() const noexcept { return whole; }
    [[nodiscard]] bool standsIn(const OpenDocument& document) const noexcept override;
    IDispatchPtr twin() override;

protected:
    [[nodiscard]] bool connected() const noexcept override { return whole->connected; }
    //! Gives the object of something in the same drawing.
    [[nodiscard]] IDispatchPtr objectOf(const Drawn& other) const;
    //! Gives the thing behind an object that a caller passed.
    //! @param kinds  what it may be
    //! @throws CallFailure  DISP_E_TYPEMISMATCH when it is none of these, E_INVALIDARG when it is
    //!                      of another document
    [[nodiscard]] Drawn argument(const Call& call, std::size_t parameter,
                                 std::initializer_list<DrawnKind> kinds) const;
    //! Gives the index of a line that a caller passed.
    //! @throws CallFailure  as argument; E_INVALIDARG when it is in another profile
    [[nodiscard]] std::size_t lineArgument(const Call& call, std::size_t parameter,
                                           std::size_t profile) const;

private:
    DrawingPtr whole;
    Drawn subject;
};

//! Base of the collections in a drawing. They answer for what is there at each call.
class DrawingList : public DrawingObject
{
public:
    using DrawingObject::DrawingObject;

    void count(Call& call);
    void item(Call& call);

protected:
    [[nodiscard]] virtual std::vector<Drawn> items() const = 0;
    //! Puts Count and Item in front of a collection's own members.
    [[nodiscard]] static std::vector<Member> withItems(DISPID count, std::vector<Member> own = {});
};

//! Gives the object of something in a drawing: the living one, or a new one. Collections are new
//! each time.
[[nodiscard]] IDispatchPtr objectFor(const std::shared_ptr<HostState>& host,
                                     const DrawingPtr& drawing, const Drawn& drawn);

//! Makers of the collections that documents hand out.
[[nodiscard]] IDispatchPtr newVariables(const std::shared_ptr<HostState>& host,
                                        const DrawingPtr& drawing);
[[nodiscard]] IDispatchPtr newRefPlanes(const std::shared_ptr<HostState>& host,
                                        const DrawingPtr& drawing);
[[nodiscard]] IDispatchPtr newAsmRefPlanes(const std::shared_ptr<HostState>& host,
                                           const DrawingPtr& drawing);

[[nodiscard]] IDispatchPtr newSketches(const std::shared_ptr<HostState>& host,
                                       const DrawingPtr& drawing);
[[nodiscard]] IDispatchPtr newProfileSets(const std::shared_ptr<HostState>& host,
                                          const DrawingPtr& drawing);
[[nodiscard]] IDispatchPtr newLayouts(const std::shared_ptr<HostState>& host,
                                      const DrawingPtr& drawing);

//! Makers of the objects, by what they stand for. Each gives a new object.
//! @param known  as DrawingObject has it
[[nodiscard]] IDispatchPtr newVariableObject(const std::shared_ptr<HostState>& host,
                                             const DrawingPtr& drawing, const Drawn& drawn,
                                             bool known);
[[nodiscard]] IDispatchPtr newDimensionObject(const std::shared_ptr<HostState>& host,
                                              const DrawingPtr& drawing, const Drawn& drawn,
                                              bool known);
[[nodiscard]] IDispatchPtr newRefPlaneObject(const std::shared_ptr<HostState>& host,
                                             const DrawingPtr& drawing, const Drawn& drawn,
                                             bool known);
[[nodiscard]] IDispatchPtr newSketchObject(const std::shared_ptr<HostState>& host,
                                           const DrawingPtr& drawing, const Drawn& drawn,
                                           bool known);
[[nodiscard]] IDispatchPtr newProfileObject(const std::shared_ptr<HostState>& host,
                                            const DrawingPtr& drawing, const Drawn& drawn,
                                            bool known);
[[nodiscard]] IDispatchPtr newRelationObject(const std::shared_ptr<HostState>& host,
                                             const DrawingPtr& drawing, const Drawn& drawn,
                                             bool known);

} // namespace standin
