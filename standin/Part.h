//! @file
//! Automation objects of what a part holds, and the bond between them and the open document.

#pragma once

#include "standin/Content.h"
#include "standin/DocumentData.h"
#include "standin/Object.h"

#include <map>
#include <memory>

namespace standin {

//! A part while its document shows it. When the document closes or changes, objects stay behind,
//! disconnected.
struct LivePart
{
    std::shared_ptr<const PartContent> content;
    bool construction = false; //!< one body beside the design bodies
    bool visible = true;
    std::map<std::size_t, std::vector<FeatureSpec>> features; //!< by the body's index
    bool connected = true;
    std::map<Entity, Object*> objects; //!< the living ones, so that asking twice gives the same
};

using LivePartPtr = std::shared_ptr<LivePart>;

//! Base of the objects inside a part.
class PartObject : public Object
{
public:
    //! @param known  the part knows the object and gives it again when asked for the same thing
    PartObject(std::shared_ptr<HostState> hostState, const ClassInfo& info, LivePartPtr livePart,
               const Entity& entity, bool known);
    ~PartObject() override;

    [[nodiscard]] const Entity& entity() const noexcept { return subject; }
    [[nodiscard]] bool standsIn(const OpenDocument& document) const noexcept override;
    IDispatchPtr twin() override;

protected:
    [[nodiscard]] bool connected() const noexcept override { return part->connected; }
    [[nodiscard]] const PartContent& content() const noexcept { return *part->content; }
    [[nodiscard]] const LivePartPtr& live() const noexcept { return part; }
    //! Gives the features of the model that the object belongs to.
    [[nodiscard]] const std::vector<FeatureSpec>& features() const;
    [[nodiscard]] const geom::Body& body() const { return content().bodies()[subject.body]; }
    //! Gives the object of something in the same part.
    [[nodiscard]] IDispatchPtr objectOf(const Entity& other) const;

    //! Answers GetReferenceKey for this object.
    void referenceKey(Call& call);
    //! Answers GetExactRange for this object.
    void exactRange(Call& call);

private:
    LivePartPtr part;
    Entity subject;
};

//! Gives the object of something in a part: the living one, or a new one.
[[nodiscard]] IDispatchPtr objectFor(const std::shared_ptr<HostState>& host,
                                     const LivePartPtr& part, const Entity& entity);

//! Makers of the objects, one per class. Each gives a new object.
//! @param known  as PartObject has it
[[nodiscard]] IDispatchPtr newModels(const std::shared_ptr<HostState>& host,
                                     const LivePartPtr& part, const Entity& entity, bool known);
[[nodiscard]] IDispatchPtr newModel(const std::shared_ptr<HostState>& host, const LivePartPtr& part,
                                    const Entity& entity, bool known);
[[nodiscard]] IDispatchPtr newBody(const std::shared_ptr<HostState>& host, const LivePartPtr& part,
                                   const Entity& entity, bool known);
[[nodiscard]] IDispatchPtr newFace(const std::shared_ptr<HostState>& host, const LivePartPtr& part,
                                   const Entity& entity, bool known);
[[nodiscard]] IDispatchPtr newEdge(const std::shared_ptr<HostState>& host, const LivePartPtr& part,
                                   const Entity& entity, bool known);
[[nodiscard]] IDispatchPtr newFeature(const std::shared_ptr<HostState>& host,
                                      const LivePartPtr& part, const Entity& entity, bool known);
[[nodiscard]] IDispatchPtr newSurface(const std::shared_ptr<HostState>& host,
                                      const LivePartPtr& part, const Entity& entity, bool known);
[[nodiscard]] IDispatchPtr newCurve(const std::shared_ptr<HostState>& host, const LivePartPtr& part,
                                    const Entity& entity, bool known);

//! Makes a Faces collection of some of a body's faces.
[[nodiscard]] IDispatchPtr newFaces(const std::shared_ptr<HostState>& host, const LivePartPtr& part,
                                    std::size_t body, const std::vector<std::size_t>& faces);
//! Makes an Edges collection of some of a body's edges.
[[nodiscard]] IDispatchPtr newEdges(const std::shared_ptr<HostState>& host, const LivePartPtr& part,
                                    std::size_t body, const std::vector<std::size_t>& edges);

//! Makes a Features collection of the first features of a body's model.
[[nodiscard]] IDispatchPtr newFeatures(const std::shared_ptr<HostState>& host,
                                       const LivePartPtr& part, std::size_t body,
                                       std::size_t count);

//! Picks those of a body's faces that a selector asks for.
//! @param selector  igQueryAll and so on
//! @throws CallFailure  E_INVALIDARG for another number, E_NOTIMPL for igQueryRoundable
[[nodiscard]] std::vector<std::size_t>
selectFaces(const geom::Body& body, const std::vector<std::size_t>& faces, LONG selector);
//! Picks those of a body's edges that a selector asks for, as selectFaces.
[[nodiscard]] std::vector<std::size_t>
selectEdges(const geom::Body& body, const std::vector<std::size_t>& edges, LONG selector);

} // namespace standin
