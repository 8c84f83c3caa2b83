// By librsvg and cairo. They are loaded only here: with all that they need they would take longer to load than most
// commands take to run.
#include "kmr/plot/png.hpp"

#include <cairo.h>
#include <dlfcn.h>
#include <librsvg/rsvg.h>
#include <memory>

namespace kmr::plot {
namespace {

template <typename Function>
void load(void* from, const char* name, Function& into, bool& all) {
    into = reinterpret_cast<Function>(dlsym(from, name));
    all &= into != nullptr;
}

// Stays loaded: what they set up for themselves cannot be taken down.
struct svg_library {
    decltype(&rsvg_handle_new_from_data) read = nullptr;
    decltype(&rsvg_handle_get_intrinsic_size_in_pixels) size_of = nullptr;
    decltype(&rsvg_handle_render_document) render = nullptr;
    decltype(&cairo_image_surface_create) make_surface = nullptr;
    decltype(&cairo_surface_status) surface_status = nullptr;
    decltype(&cairo_surface_destroy) destroy_surface = nullptr;
    decltype(&cairo_surface_write_to_png_stream) write_png = nullptr;
    decltype(&cairo_create) make_context = nullptr;
    decltype(&cairo_destroy) destroy_context = nullptr;
    decltype(&g_object_unref) release = nullptr;

    bool load_all() {
        void* const rsvg = dlopen("librsvg-2.so.2", RTLD_NOW); // and with it what it is made with
        if (rsvg == nullptr)
            return false;
        bool all = true;
        load(rsvg, "rsvg_handle_new_from_data", read, all);
        load(rsvg, "rsvg_handle_get_intrinsic_size_in_pixels", size_of, all);
        load(rsvg, "rsvg_handle_render_document", render, all);
        load(rsvg, "cairo_image_surface_create", make_surface, all);
        load(rsvg, "cairo_surface_status", surface_status, all);
        load(rsvg, "cairo_surface_destroy", destroy_surface, all);
        load(rsvg, "cairo_surface_write_to_png_stream", write_png, all);
        load(rsvg, "cairo_create", make_context, all);
        load(rsvg, "cairo_destroy", destroy_context, all);
        load(rsvg, "g_object_unref", release, all);
        return all;
    }
};

cairo_status_t append(void* to, const unsigned char* bytes, unsigned count) {
    static_cast<std::string*>(to)->append(reinterpret_cast<const char*>(bytes), count);
    return CAIRO_STATUS_SUCCESS;
}

bool render(const svg_library& by, std::string_view svg, std::string& to) {
    const std::unique_ptr<RsvgHandle, decltype(by.release)> handle(
        by.read(reinterpret_cast<const guint8*>(svg.data()), svg.size(), nullptr), by.release);
    gdouble width = 0;
    gdouble height = 0;
    if (!handle || by.size_of(handle.get(), &width, &height) == 0)
        return false;
    const std::unique_ptr<cairo_surface_t, decltype(by.destroy_surface)> surface(
        by.make_surface(CAIRO_FORMAT_ARGB32, static_cast<int>(width), static_cast<int>(height)),
        by.destroy_surface);
    const std::unique_ptr<cairo_t, decltype(by.destroy_context)> context(by.make_context(surface.get()),
                                                                         by.destroy_context);
    const RsvgRectangle all = {.x = 0, .y = 0, .width = width, .height = height};
    return by.render(handle.get(), context.get(), &all, nullptr) != 0 &&
           by.surface_status(surface.get()) == CAIRO_STATUS_SUCCESS &&
           by.write_png(surface.get(), append, &to) == CAIRO_STATUS_SUCCESS;
}

} // namespace

std::string why_no_png() {
    return svg_library().load_all() ? "" : "librsvg is not installed, which makes a .png; .svg needs nothing";
}

png_result png_of(std::string_view svg) {
    svg_library library;
    if (!library.load_all())              // uncovered: it was there a moment ago
        return {.problem = why_no_png()}; // uncovered: as above
    png_result result;
    if (!render(library, svg, result.bytes))
        result.problem = "librsvg cannot draw it";
    return result;
}

} // namespace kmr::plot
