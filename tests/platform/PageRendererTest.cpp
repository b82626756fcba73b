// The first page of a PDF as a picture: documents written here by hand, rendered by the PDF
// module when the build has it.
#include "platform/PageRenderer.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "PNGCheck.h"

namespace qb {
namespace {

// A one-page PDF of width x height points whose page draws `content`, with a correct
// cross-reference table.
std::string onePagePDF(double width, double height, std::string_view content, int rotate = 0) {
    std::vector<std::string> objects = {
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        fmt::format("<< /Type /Page /Parent 2 0 R /MediaBox [0 0 {} {}] /Rotate {} "
                    "/Contents 4 0 R /Resources << >> >>",
                    width, height, rotate),
        fmt::format("<< /Length {} >>\nstream\n{}\nendstream", content.size(), content),
    };
    std::string pdf = "%PDF-1.4\n";
    std::vector<size_t> offsets;
    for (size_t i = 0; i < objects.size(); ++i) {
        offsets.push_back(pdf.size());
        pdf += fmt::format("{} 0 obj\n{}\nendobj\n", i + 1, objects[i]);
    }
    size_t xref = pdf.size();
    pdf += fmt::format("xref\n0 {}\n0000000000 65535 f \n", objects.size() + 1);
    for (size_t offset : offsets)
        pdf += fmt::format("{:010} 00000 n \n", offset);
    pdf += fmt::format("trailer\n<< /Size {} /Root 1 0 R >>\nstartxref\n{}\n%%EOF\n",
                       objects.size() + 1, xref);
    return pdf;
}

// A red square over the lower-left quarter of the page (PDF counts y upwards).
std::string redLowerLeft(double width, double height) {
    return fmt::format("1 0 0 rg 0 0 {} {} re f", width / 2, height / 2);
}

std::optional<RenderedPage> render(const std::string& pdf, int maxWidth = 500) {
    return renderFirstPDFPage(Bytes::fromString(pdf), maxWidth);
}

#if QB_WITH_POPPLER

void expectPNGOfItsOwnSize(const RenderedPage& page) {
    auto header = test::readPNGHeader(page.png);
    ASSERT_TRUE(header);
    EXPECT_EQ(header->width, uint32_t(page.width));
    EXPECT_EQ(header->height, uint32_t(page.height));
}

TEST(PageRenderer, SmallPagesAreDrawnAtTheirSizeLargeOnesCappedKeepingTheirShape) {
    auto portrait = render(onePagePDF(300, 400, redLowerLeft(300, 400)));
    ASSERT_TRUE(portrait);
    expectPNGOfItsOwnSize(*portrait);
    EXPECT_EQ(portrait->width, 300);
    EXPECT_EQ(portrait->height, 400);

    auto a4 = render(onePagePDF(595, 842, redLowerLeft(595, 842)));
    ASSERT_TRUE(a4);
    expectPNGOfItsOwnSize(*a4);
    EXPECT_LE(a4->width, 500);
    EXPECT_GE(a4->width, 498);
    EXPECT_NEAR(double(a4->height) / a4->width, 842.0 / 595, 0.01);

    auto wide = render(onePagePDF(2000, 500, ""), 400);
    ASSERT_TRUE(wide);
    EXPECT_LE(wide->width, 400);
    EXPECT_GE(wide->width, 398);
    EXPECT_NEAR(double(wide->height), 100, 1);

    // A page turned a quarter is shown turned, still within the width.
    auto turned = render(onePagePDF(1000, 500, "", 90));
    ASSERT_TRUE(turned);
    EXPECT_LE(turned->width, 500);
    EXPECT_GT(turned->height, turned->width);
}

TEST(PageRenderer, ThePictureShowsThePage) {
    auto page = render(onePagePDF(200, 200, redLowerLeft(200, 200)));
    ASSERT_TRUE(page);
    auto decoded = test::DecodedPNG::decode(page->png);
    ASSERT_TRUE(decoded);
    ASSERT_EQ(decoded->width(), 200);
    // Lower left red, upper right the white paper.
    EXPECT_EQ(decoded->alpha(40, 160), 255);
    EXPECT_GT(decoded->red(40, 160), 200);
    EXPECT_LT(decoded->green(40, 160), 60);
    EXPECT_LT(decoded->blue(40, 160), 60);
    EXPECT_GT(decoded->red(160, 40), 240);
    EXPECT_GT(decoded->green(160, 40), 240);
    EXPECT_GT(decoded->blue(160, 40), 240);
}

TEST(PageRenderer, TextIsDrawnWithTheSystemFonts) {
    // tests/data/pdf/one-page.pdf: 300 x 400 points, "First page" in Helvetica 24 at (40, 300)
    // over a red lower-left quarter; it also seeds the fuzzer.
    std::ifstream in(std::string(QB_SOURCE_DIR) + "/tests/data/pdf/one-page.pdf", std::ios::binary);
    std::string pdf((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    ASSERT_FALSE(pdf.empty());
    auto page = render(pdf);
    ASSERT_TRUE(page);
    EXPECT_EQ(page->width, 300);
    EXPECT_EQ(page->height, 400);
    auto decoded = test::DecodedPNG::decode(page->png);
    ASSERT_TRUE(decoded);
    int dark = 0;
    for (int y = 76; y < 102; ++y)
        for (int x = 40; x < 200; ++x)
            if (decoded->red(x, y) < 100 && decoded->green(x, y) < 100) ++dark;
    EXPECT_GT(dark, 150);
    EXPECT_GT(decoded->red(300 / 4, 400 * 3 / 4), 200);
    EXPECT_LT(decoded->green(300 / 4, 400 * 3 / 4), 60);
}

TEST(PageRenderer, DocumentsThatCannotBeReadGiveNothing) {
    std::string good = onePagePDF(300, 400, redLowerLeft(300, 400));
    EXPECT_FALSE(render(""));
    EXPECT_FALSE(render(std::string(4000, '\xA5')));
    EXPECT_FALSE(render("%PDF-1.4\n%%EOF\n"));
    // Boxes poppler repairs: an empty one becomes its default page (Letter), a reversed one
    // is turned round.
    auto empty = render(onePagePDF(0, 0, ""));
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->width, 500);
    EXPECT_NEAR(empty->height, 500.0 * 792 / 612, 1);
    auto reversed = render(onePagePDF(-50, 100, ""));
    ASSERT_TRUE(reversed);
    EXPECT_EQ(reversed->width, 50);
    EXPECT_EQ(reversed->height, 100);
    EXPECT_FALSE(render(good, 0));
    EXPECT_FALSE(render(good, -10));
    // Cut anywhere, a document gives nothing or a picture within the width; never a crash.
    for (size_t cut = 0; cut < good.size(); cut += 7) {
        auto page = render(good.substr(0, cut));
        if (page) {
            EXPECT_LE(page->width, 500);
            EXPECT_TRUE(test::readPNGHeader(page->png));
        }
    }
}

TEST(PageRenderer, SeveralThreadsRenderAtOnce) {
    std::string pdf = onePagePDF(300, 400, redLowerLeft(300, 400));
    auto expected = render(pdf);
    ASSERT_TRUE(expected);
    std::vector<int> same(4, 0);
    std::vector<std::thread> threads;
    for (size_t t = 0; t < same.size(); ++t)
        threads.emplace_back([&, t] {
            for (int i = 0; i < 5; ++i) {
                auto page = render(pdf);
                if (page && page->png == expected->png) ++same[t];
            }
        });
    for (auto& thread : threads)
        thread.join();
    for (int count : same)
        EXPECT_EQ(count, 5);
}

#else

TEST(PageRenderer, WithoutThePDFModuleThereIsNoPicture) {
    EXPECT_FALSE(render(onePagePDF(300, 400, redLowerLeft(300, 400))));
}

#endif

}  // namespace
}  // namespace qb
