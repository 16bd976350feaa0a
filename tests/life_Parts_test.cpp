//! The main job over whole parts: remember, measure, chain, save, read, bind.

#include "com/ComCensus.h"
#include "demo/Automation.h"
#include "ktmdl/ktmdl_BldLoops.h"
#include "ktmdl/ktmdl_Topo.h"
#include "ktmdl/ktmdl_TopoSeq.h"
#include "ktstd/ktstd_Archive.h"
#include "ktstd/ktstd_AsciiString.h"
#include "ktstd/ktstd_Session.h"
#include "standin/Session.h"
#include "standin/step/StepFile.h"
#include "support/StepFiles.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>

namespace {

using standin::geom::Body;
using standin::geom::Face;
using standin::geom::SurfaceKind;

constexpr unsigned char kEdgeType = 2;
constexpr unsigned char kFaceType = 5;
constexpr unsigned char kBodyType = 6;

struct Counts
{
    long solids{};
    long faces{};
    long edges{};
    long vertices{};
    long closedEdges{};
    std::map<std::string, long> surfaces;
};

//! Names a kind of surface as the ground truth does.
std::string truthName(const std::string& surface)
{
    static const std::map<std::string, std::string> names = {{"plane", "PLANE"},
                                                             {"cylinder", "CYLINDRICAL_SURFACE"},
                                                             {"cone", "CONICAL_SURFACE"},
                                                             {"sphere", "SPHERICAL_SURFACE"},
                                                             {"torus", "TOROIDAL_SURFACE"}};
    const auto found = names.find(surface);
    return found != names.end() ? found->second : "FREEFORM";
}

//! Plays with the references of one file, opened as documents of its parts.
class Parts : public testing::TestWithParam<std::string>
{
protected:
    void SetUp() override
    {
        strings = com::liveStrings();
        arrays = com::liveArrays();
        ktstd_Session::SetCurSession(Hnd_ktstd_Session(new ktstd_Session()));
        host = std::make_unique<standin::Session>();
        documents = host->openParts(GetParam());
        for (const IDispatchPtr& document : documents) {
            for (const IDispatchPtr& model :
                 demo::items(demo::objectProperty(document, L"Models"))) {
                const Hnd_ktmdl_Topo body = ktmdl_Topo::New(demo::objectProperty(model, L"Body"));
                body->tplType = kBodyType;
                body->mDispDoc = document;
                ASSERT_EQ(body->BuildPersistentData(), 0);
                bodies.Append(body);
            }
            for (const Body& body : host->bodies(document)) {
                shapes.push_back(&body);
            }
        }
        ASSERT_EQ(bodies.Length(), static_cast<long>(shapes.size()));
        ASSERT_GE(bodies.Length(), 1);
    }

    void TearDown() override
    {
        bodies.Clear();
        ktmdl_Topo::ClearAllTopos();
        documents.clear();
        host.reset();
        ktstd_Session::SetCurSession(Hnd_ktstd_Session());
        EXPECT_EQ(standin::processCensus().live(), 0) << standin::processCensus().text();
        EXPECT_EQ(com::liveStrings(), strings);
        EXPECT_EQ(com::liveArrays(), arrays);
    }

    //! Gives the references of all faces, and builds their edge lists.
    std::vector<Hnd_ktmdl_Topo> faces()
    {
        std::vector<Hnd_ktmdl_Topo> all;
        for (long i = 1; i <= bodies.Length(); ++i) {
            const Hnd_ktmdl_TopoHSeq list = bodies.Value(i)->mSubTopos[1];
            for (long k = 1; k <= list->Length(); ++k) {
                all.push_back(list->Value(k));
            }
        }
        return all;
    }

    //! Gives every reference once: bodies, faces, edges.
    std::vector<Hnd_ktmdl_Topo> references()
    {
        std::vector<Hnd_ktmdl_Topo> all;
        std::set<const ktmdl_Topo*> known;
        const auto add = [&](const Hnd_ktmdl_Topo& topo) {
            if (known.insert(&*topo).second) {
                all.push_back(topo);
            }
        };
        for (long i = 1; i <= bodies.Length(); ++i) {
            add(bodies.Value(i));
            for (const Hnd_ktmdl_TopoHSeq& list : bodies.Value(i)->mSubTopos) {
                for (long k = 1; k <= list->Length(); ++k) {
                    add(list->Value(k));
                }
            }
        }
        return all;
    }

    Counts count()
    {
        Counts counts;
        for (const Body* shape : shapes) {
            counts.solids += shape->solid ? 1 : 0;
        }
        for (const Hnd_ktmdl_Topo& topo : references()) {
            if (topo->tplType == kFaceType) {
                ++counts.faces;
                ++counts.surfaces[truthName(demo::surfaceName(topo->mDispTopo))];
            } else if (topo->tplType == kEdgeType) {
                ++counts.edges;
                counts.closedEdges += topo->IsClosed();
            }
        }
        for (const Body* shape : shapes) {
            counts.vertices += static_cast<long>(shape->vertices.size());
        }
        return counts;
    }

    ktmdl_TopoSeq bodies;
    std::unique_ptr<standin::Session> host;
    std::vector<IDispatchPtr> documents;
    std::vector<const Body*> shapes;
    long strings{};
    long arrays{};
};

std::string testName(const testing::TestParamInfo<std::string>& info)
{
    std::string name = std::filesystem::path(info.param).stem().string();
    for (char& c : name) {
        c = std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(Files, Parts, testing::ValuesIn(support::allStepFiles()), testName);

TEST(PartFiles, SamplesAreThere)
{
    EXPECT_GE(support::sampleFiles().size(), 2U);
}

TEST_P(Parts, CountsEqualTheGroundTruth)
{
    const std::filesystem::path path = GetParam();
    std::ifstream file(path.parent_path() / "ground-truth.json");
    if (!file) {
        GTEST_SKIP() << "no ground truth beside " << path;
    }
    const nlohmann::json truth = nlohmann::json::parse(file).at(path.filename().string());
    const Counts counts = count();
    EXPECT_EQ(counts.solids, truth.at("solids").get<long>());
    EXPECT_EQ(counts.faces, truth.at("faces").get<long>());
    EXPECT_EQ(counts.edges, truth.at("edges").get<long>());
    EXPECT_EQ(counts.vertices, truth.at("vertices").get<long>());
    EXPECT_EQ(counts.closedEdges, truth.at("closed_edges").get<long>());

    std::map<std::string, long> surfaces;
    for (const auto& [name, number] : truth.at("face_surface_types").items()) {
        const bool analytic = name == "PLANE" || name == "CYLINDRICAL_SURFACE" ||
                              name == "CONICAL_SURFACE" || name == "SPHERICAL_SURFACE" ||
                              name == "TOROIDAL_SURFACE";
        surfaces[analytic ? name : "FREEFORM"] += number.get<long>();
    }
    EXPECT_EQ(counts.surfaces, surfaces);
}

TEST_P(Parts, BodyBoxEnclosesTheVertices)
{
    for (long i = 1; i <= bodies.Length(); ++i) {
        const Body& shape = *shapes[static_cast<std::size_t>(i - 1)];
        const ktmdl_BBox3d& box = bodies.Value(i)->mBBox;
        standin::geom::Box extent;
        for (const auto& vertex : shape.vertices) {
            extent.add(vertex.point);
        }
        // What the file's own exactness allows a vertex to stand off its faces.
        constexpr double kExactness = 1e-6;
        EXPECT_LE(box.mMin.mX, extent.min.x + kExactness);
        EXPECT_LE(box.mMin.mY, extent.min.y + kExactness);
        EXPECT_LE(box.mMin.mZ, extent.min.z + kExactness);
        EXPECT_GE(box.mMax.mX, extent.max.x - kExactness);
        EXPECT_GE(box.mMax.mY, extent.max.y - kExactness);
        EXPECT_GE(box.mMax.mZ, extent.max.z - kExactness);

        // A solid of planes has straight edges only; the edges of a sheet may be curved.
        bool planes = shape.solid;
        for (const Face& face : shape.faces) {
            planes = planes && face.surface->kind() == SurfaceKind::plane;
        }
        if (planes) {
            const ktmdl_BBox3d exact(extent.min.x, extent.min.y, extent.min.z, extent.max.x,
                                     extent.max.y, extent.max.z);
            EXPECT_NE(box.IsEqual(exact), 0);
        }
    }
}

TEST_P(Parts, PlanarFacesHaveAsManyLoopsAsBounds)
{
    const std::vector<Hnd_ktmdl_Topo> all = faces();
    std::size_t next = 0;
    long planar = 0;
    for (const Body* shape : shapes) {
        for (const Face& face : shape->faces) {
            const Hnd_ktmdl_Topo topo = all.at(next++);
            if (face.surface->kind() != SurfaceKind::plane) {
                continue;
            }
            ++planar;
            ASSERT_EQ(topo->BuildPersistentData(), 0);
            const Hnd_ktmdl_TopoHSeq edges = topo->mSubTopos[0]->ShallowCopy();
            const long number = edges->Length();
            ktmdl_BldLoops builder(edges);
            ASSERT_EQ(builder.Compute(), 0);
            SCOPED_TRACE(testing::Message() << "entity #" << face.entity);
            ASSERT_EQ(builder.Loops().IsNull(), 0);
            EXPECT_EQ(builder.Loops()->Length(), static_cast<long>(face.loops.size()));
            EXPECT_EQ(edges->Length(), 0) << "edges left over";
            long chained = 0;
            for (long i = 1; i <= builder.Loops()->Length(); ++i) {
                chained += Hnd_ktmdl_TopoHSeq::DownCast(builder.Loops()->Value(i))->Length();
            }
            EXPECT_EQ(chained, number);
        }
    }
    EXPECT_EQ(next, all.size());
    // Only the part of free-form surfaces has no plane at all.
    EXPECT_TRUE(planar > 0 || count().surfaces.count("PLANE") == 0);
}

TEST_P(Parts, EveryReferenceIsReadBackAndBoundToTheSameObject)
{
    const std::size_t number = references().size();
    std::vector<unsigned char> bytes;
    {
        ktstd_Archive archive;
        archive << bodies;
        bytes = archive.Finish();
    }
    std::vector<std::string> keys;
    for (const Hnd_ktmdl_Topo& topo : references()) {
        keys.emplace_back(topo->mKey, topo->mKey + topo->mKeySize);
    }
    std::vector<std::string> names;
    bodies.Clear();
    ktmdl_Topo::ClearAllTopos();
    for (const IDispatchPtr& document : documents) {
        names.push_back(demo::textProperty(document, L"FullName"));
        host->close(document);
    }
    documents.clear();
    host = std::make_unique<standin::Session>(); // as in a later run

    {
        ktstd_Archive archive(bytes);
        archive >> bodies;
    }
    const std::vector<Hnd_ktmdl_Topo> read = references();
    ASSERT_EQ(read.size(), number);
    documents = host->openParts(GetParam());
    for (std::size_t i = 0; i < documents.size(); ++i) {
        ktstd_AsciiString name("");
        ktmdl_Topo::ReconnectDocument(documents[i], name);
        EXPECT_EQ(std::string(name.ToCString()), names.at(i));
    }
    for (std::size_t i = 0; i < read.size(); ++i) {
        const Hnd_ktmdl_Topo& topo = read[i];
        ASSERT_EQ(std::string(topo->mKey, topo->mKey + topo->mKeySize), keys[i]);
        ASSERT_NE(topo->mDispTopo, nullptr) << "reference " << i;
        // The registry finds a reference by the key that the host gives for the object: when the
        // bound object had another key, a new reference would be made.
        unsigned char isNew = 1;
        EXPECT_EQ(ktmdl_Topo::New(topo->mDispTopo, isNew), topo);
        EXPECT_EQ(isNew, 0);
        EXPECT_NE(ktmdl_Topo::BuildBBox(topo->mDispTopo).IsEqual(topo->mBBox), 0);
    }
}

TEST_P(Parts, NormalsOfPlanesPointOutwards)
{
    const std::vector<Hnd_ktmdl_Topo> all = faces();
    std::size_t next = 0;
    for (const Body* shape : shapes) {
        for (const Face& face : shape->faces) {
            const Hnd_ktmdl_Topo topo = all.at(next++);
            if (face.surface->kind() != SurfaceKind::plane) {
                continue;
            }
            const standin::geom::Vec normal = face.surface->normal({0.0, 0.0});
            const double sign = face.reversed ? -1.0 : 1.0;
            const ktmdl_Vec3d expected(sign * normal.x, sign * normal.y, sign * normal.z);
            EXPECT_NE(topo->BuildNormal().IsEqual(expected, 1e-9), 0) << "entity #" << face.entity;
        }
    }
}

} // namespace
