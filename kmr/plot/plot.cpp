// kmr plot: the time line as one still picture.
#include "kmr/commands.hpp"
#include "kmr/judged_file.hpp"
#include "kmr/new_file/new_file.hpp"
#include "kmr/option_checks.hpp"
#include "kmr/plot/marks.hpp"
#include "kmr/plot/picture.hpp"
#include "kmr/plot/png.hpp"
#include "mend/plain_disk.hpp"

#include <CLI/CLI.hpp>

namespace kmr::program {
namespace {

enum class picture_form : uint8_t { svg, png, unknown };

picture_form form_of(const std::string& path) {
    const std::string suffix = small_suffix_of(path);
    if (suffix == ".png")
        return picture_form::png;
    return suffix == ".svg" || path == "-" ? picture_form::svg : picture_form::unknown;
}

class plot final : public command {
public:
    void add_options(CLI::App& to) override {
        to.add_option("FILE", path_, "A recording")->required();
        to.add_option("-o,--output", names_.to,
                      "A file that ends in .svg or .png; - is standard output, as SVG")
            ->required()
            ->option_text("OUT")
            ->check(not_empty());
        const std::string pixels = "number of pixels";
        to.add_option("--width", size_.width, "In pixels (800)")
            ->option_text("PIXELS")
            ->transform(whole_number(kmr::plot::least_width, kmr::plot::most_pixels, pixels));
        to.add_option("--height", size_.height, "In pixels (else as high as it takes)")
            ->option_text("PIXELS")
            ->transform(whole_number(kmr::plot::least_height, kmr::plot::most_pixels, pixels));
        to.add_flag("--force", names_.replace, "Replace OUT where it is there already; never FILE");
    }

    exit_status work(session& with) override {
        const picture_form form = form_of(names_.to);
        if (form == picture_form::unknown)
            return with.refuse(names_.to, "a picture is a file that ends in .svg or .png");
        if (names_.to != "-") {
            if (const std::string why = follow_link(path_, names_); !why.empty())
                return with.refuse(path_, why);
            if (const std::string why = why_no_picture(form); !why.empty())
                return with.refuse(names_.to, why);
        }
        const found_file file = {.path = path_};
        kmr::plot::frame_gatherer gatherer(with.err, with.err.on_terminal() ? bytes_of({file}) : 0);
        const judged_file judged = judge_file(file, {.most_per_code = kmr::plot::most_marks}, &gatherer);
        if (judged.judged.judged == scan::verdict::unreadable)
            return with.refuse(path_, judged.problem);
        if (!judged.problem.empty())
            with.err.say(path_, judged.problem);
        output::clock clock = with.clock();
        const std::string svg = kmr::plot::draw(judged, gatherer.finish(), size_, clock);
        return worse(write(svg, form, with), status_of(judged.judged));
    }

private:
    // Before a long recording is read for nothing.
    std::string why_no_picture(picture_form form) const {
        mend::plain_disk disk;
        const std::string why = why_not_written(disk, names_);
        return why.empty() && form == picture_form::png ? kmr::plot::why_no_png() : why;
    }

    exit_status write(const std::string& svg, picture_form form, session& with) const {
        if (names_.to == "-") {
            with.out.write(svg);
            return exit_status::sound;
        }
        if (form == picture_form::svg)
            return write_file(svg, with);
        const kmr::plot::png_result png = kmr::plot::png_of(svg);
        return png.problem.empty() ? write_file(png.bytes, with) : with.refuse(names_.to, png.problem);
    }

    // The picture is of what was read, whatever has become of the recording since.
    exit_status write_file(std::string_view picture, session& with) const {
        mend::plain_disk disk;
        scan::memory_source content({reinterpret_cast<const uint8_t*>(picture.data()), picture.size()});
        const std::string why = write_whole_file(disk, names_, content, content);
        return why.empty() ? exit_status::sound : with.refuse(names_.to, why);
    }

    std::string path_ = {};
    new_file_names names_ = {};
    kmr::plot::picture_size size_ = {};
};

} // namespace

const command_kind plot_command = {
    "plot",
    "Draws the time line of a recording: bit rate, gaps, damage, tags",
    "  kmr plot recording.kmr -o recording.svg                for a ticket or a printed report\n"
    "  kmr plot --utc --width 1600 recording.kmr -o wide.png  pixels, and times of day in UTC\n"
    "  kmr plot recording.kmr -o - | gzip >recording.svgz     to another program\n",
    make_command<plot>,
};

} // namespace kmr::program
