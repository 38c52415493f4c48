#include "pdf/Finisher.h"
#include "tests/pdf/SamplePDF.h"

#include <cstdint>
#include <cstdlib>
#include <new>

#include <gtest/gtest.h>

namespace {

std::size_t largestAllocation = SIZE_MAX;   // more is refused

}   // namespace

void* operator new(std::size_t size) {
    void* const memory = size <= largestAllocation ? std::malloc(size) : nullptr;
    return memory ? memory : throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return size <= largestAllocation ? std::malloc(size) : nullptr;
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace ostrel::pdf {
namespace {

using test::OpenedPDF, test::ref, test::SamplePDF;

TEST(OutOfMemory, CostsThePassThatLacksItAndIsTold) {
    SamplePDF pdf;
    auto picture = pdf.stream(
        "<< /Type /XObject /Subtype /Image /BitsPerComponent 8 /ColorSpace /DeviceGray /Width 2000 /Height 1000 >>",
        std::string(2'000'000, 'x'));
    pdf.page(".2 .4 .6 rg /F gs 10 100 20 9 re f /P Do",
             "<< /ExtGState << /F << /ca .0039 >> >> /XObject << /P " + ref(picture) + " >> >>");
    const auto bytes = pdf.bytes();
    Finisher finisher;
    largestAllocation = 1'500'000;
    const auto finished = finisher.finish(Printed::open(Bytes(bytes)), {.linkMarks = {{0x336699, "http://one"}}});
    largestAllocation = SIZE_MAX;
    for (const auto& pass : finished.report.passes)
        EXPECT_EQ(pass.failure.empty(), pass.name != "pictures") << pass.name << ": " << pass.failure;
    EXPECT_EQ(finished.report.links, 1u);
    OpenedPDF opened(finished.pdf);
    EXPECT_EQ(test::plainData(opened.resource(0, "/XObject", "/P")).size(), 2'000'000u);
}

}   // namespace
}   // namespace ostrel::pdf
