//! The README's sample, as it stands there.

#include "readme_sample.h"

#include "demo/Automation.h"
#include "standin/Build.h"
#include "standin/Session.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

TEST(Readme, SampleFindsTheFaceAgain)
{
    const std::string path =
        (std::filesystem::temp_directory_path() / "ktmdl-readme-sample.ktm").u8string();
    {
        standin::Session host;
        const standin::geom::Model part =
            standin::makeModel({standin::makeBox({0.0, 0.0, 0.0}, {0.1, 0.2, 0.3})});
        IDispatchPtr document = host.openPart(part, "C:\\parts\\box.par");
        const auto firstFace = [&document] {
            const IDispatchPtr model = demo::items(demo::objectProperty(document, L"Models")).at(0);
            const IDispatchPtr body = demo::objectProperty(model, L"Body");
            return demo::items(demo::objectProperty(body, L"Faces")).at(0);
        };
        remember(document, firstFace(), path.c_str());
        ktmdl_Topo::ClearAllTopos();
        host.close(document);

        document = host.openPart(part, "C:\\parts\\box.par");
        const Hnd_ktmdl_Topo found = find(document, path.c_str());
        unsigned char isNew = 1;
        EXPECT_EQ(ktmdl_Topo::New(firstFace(), isNew), found);
        EXPECT_EQ(isNew, 0);
        ASSERT_EQ(found->mSubTopos[0].IsNull(), 0);
        EXPECT_EQ(found->mSubTopos[0]->Length(), 4);
    }
    ktmdl_Topo::ClearAllTopos();
    std::filesystem::remove(path);
    EXPECT_EQ(standin::processCensus().live(), 0) << standin::processCensus().text();
}

} // namespace
