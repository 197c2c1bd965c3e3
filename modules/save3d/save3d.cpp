// The save module: File > Save (save_volume) and a projection window's "&Save Projection"
// (save_buffer). It talks to the workstation only through the services of vexilo3d_module.h
// and writes through the volume library; its file dialog is Qt's, in the workstation's process.
//
// Nothing half-written is ever left under the chosen name: every file is written into a
// temporary folder beside the target and renamed into place once all of them are complete; a
// failure removes the temporary folder and leaves the files that were there before.
#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "vexilo3d_module.h"

namespace {

// One filter of the file dialog: a writer and the extension it gets when the name has none.
struct Choice {
    QString filter;
    QString extension;
    int format = -1;  // the library's image-sequence format; -1 for the picture writers below
};

// The picture writers of save_buffer.
enum PictureFormat { kPng, kTiff };

// A file name split for the library's writers: folder, base name (frames are numbered after
// it) and extension.
struct Target {
    QString folder, base, extension;
    int choice = 0;
};

QWidget* frame_window() { return static_cast<QWidget*>(GetVexilo3DInfo()->frame_window); }

class WaitCursor {
public:
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
};

// The raw volume first (the workstation reads it from its command line), the multi-page TIFF
// stack, then every writer of the library in the order of its open dialog (the volume files
// last: they keep the voxel spacing and orientation).
std::vector<Choice> volume_choices() {
    std::vector<Choice> choices;
    auto add = [&choices](int index) {
        const ImageSequenceFormat* f = GetImageSequenceFormat(index);
        if (!f || !f->write) return;
        QString ext = f->extension, patterns = "*." + ext;
        if (index == V3D_FORMAT_RAW_VOLUME) ext = "raw", patterns = "*.raw *.vol";
        if (index == V3D_FORMAT_RAW_RGB) patterns = "*.r *.g *.b";
        if (index == V3D_FORMAT_TIFF_STACK || index == V3D_FORMAT_TIFF) patterns = "*.tif *.tiff";
        if (index == V3D_FORMAT_JPEG) patterns = "*.jpg *.jpeg";
        if (index == V3D_FORMAT_PNM) patterns = "*.pgm *.ppm";
        if (index == V3D_FORMAT_NIFTI) patterns = "*.nii *.nii.gz *.hdr";
        if (index == V3D_FORMAT_NRRD) patterns = "*.nrrd *.nhdr";
        if (index == V3D_FORMAT_METAIMAGE) patterns = "*.mha *.mhd";
        choices.push_back({QString("%1 (%2)").arg(f->title, patterns), ext, index});
    };
    add(V3D_FORMAT_RAW_VOLUME);
    add(V3D_FORMAT_TIFF_STACK);
    for (int i = 0; i < V3D_FORMAT_COUNT; ++i)
        if (i != V3D_FORMAT_RAW_VOLUME && i != V3D_FORMAT_TIFF_STACK) add(i);
    return choices;
}

std::vector<Choice> picture_choices() {
    return {{"PNG image (*.png)", "png", kPng}, {"TIFF image (*.tif *.tiff)", "tif", kTiff}};
}

// The standard file dialog with a filter per choice; false when cancelled. A name without an
// extension gets the chosen filter's.
bool ask_target(const char* title, const std::vector<Choice>& choices, Target& t) {
    QStringList filters;
    for (const Choice& c : choices) filters << c.filter;
    QFileDialog dialog(frame_window(), title);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setNameFilters(filters);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return false;
    t.choice = std::max(0, static_cast<int>(filters.indexOf(dialog.selectedNameFilter())));
    const QFileInfo file(dialog.selectedFiles().first());
    t.folder = file.absolutePath();
    t.extension = file.suffix();
    t.base = t.extension.isEmpty() ? file.fileName() : file.completeBaseName();
    if (t.extension.isEmpty()) t.extension = choices[t.choice].extension;
    return !t.base.isEmpty();
}

// Runs write(base path inside a temporary folder beside the target), then moves every file it
// made into the target's folder. The writer's status, -600 when the temporary folder cannot be
// made, -602 when a file cannot be moved into place.
int write_beside(const Target& t, const std::function<int(const std::string& base)>& write) {
    QTemporaryDir scratch(QDir(t.folder).filePath(".save3d-XXXXXX"));
    if (!scratch.isValid()) return -600;
    if (const int status = write(QDir(scratch.path()).filePath(t.base).toStdString())) return status;
    namespace fs = std::filesystem;
    std::error_code error;
    for (const fs::directory_entry& e : fs::directory_iterator(scratch.path().toStdString(), error)) {
        fs::rename(e.path(), fs::path(t.folder.toStdString()) / e.path().filename(), error);
        if (error) return -602;
    }
    return error ? -602 : 0;
}

// Frame numbers with at least three digits, enough for the last frame: slice000.bmp ...
int frame_digits(int frames) {
    int digits = 1;
    for (int n = frames - 1; n >= 10; n /= 10) ++digits;
    return std::max(3, digits);
}

// A one-frame UC volume holding the buffer's picture, for the library's TIFF writer.
int save_buffer_as_tiff(Buffer* b, const std::string& base, const std::string& ext) {
    Volume v;
    InitializeVolume(&v, 1, b->height, b->width, V3D_TYPE_UC, b->colortype);
    if (const int status = CreateVolume(&v)) return status;
    const int channels = b->colortype == V3D_COLOR_RGB ? 3 : 1;
    for (int c = 0; c < channels; ++c)
        for (int y = 0; y < b->height; ++y)
            std::copy(b->image[c][y], b->image[c][y] + b->width, v.data[c].uc[0][y]);
    const int status = SaveTiffStack(&v, base.c_str(), ext.c_str(), V3D_TIFF_NONE);
    DestroyVolume(&v);
    return status;
}

int save_buffer_as_png(Buffer* b, const std::string& file) {
    const bool colour = b->colortype == V3D_COLOR_RGB;
    QImage image(b->width, b->height, colour ? QImage::Format_RGB888 : QImage::Format_Grayscale8);
    if (image.isNull()) return -9;
    for (int y = 0; y < b->height; ++y) {
        uchar* row = image.scanLine(y);
        for (int x = 0; x < b->width; ++x) {
            if (!colour) {
                row[x] = b->image[0][y][x];
                continue;
            }
            for (int c = 0; c < 3; ++c) row[3 * x + c] = b->image[c][y][x];
        }
    }
    return image.save(QString::fromStdString(file), "PNG") ? 0 : -602;
}

}  // namespace

extern "C" {

// Asks for a volume, then a file name and a format; writes the whole volume (every frame,
// files numbered from 0 for a frame series). A status: the workstation shows a non-zero one.
VEXILO3D_MODULE_EXPORT int save_volume(void) {
    Volume* vol = nullptr;
    if (!GetInputVolume(V3D_TYPE_ANY, V3D_COLOR_ANY, "Select Volume to Save", &vol) || !vol)
        return 0;
    const std::vector<Choice> choices = volume_choices();
    Target t;
    if (!ask_target("Save Volume", choices, t)) return 0;
    const ImageSequenceFormat* format = GetImageSequenceFormat(choices[t.choice].format);
    const std::string ext = t.extension.toStdString();
    WaitCursor wait;
    return write_beside(t, [&](const std::string& base) {
        return format->write(vol, base.c_str(), 0, frame_digits(vol->Z), ext.c_str());
    });
}

// Saves a projection window's picture as PNG or TIFF, grey or colour as it is; reports its own
// failures.
VEXILO3D_MODULE_EXPORT int save_buffer(Buffer* buffer) {
    if (!buffer || !buffer->image[0]) return 0;
    const std::vector<Choice> choices = picture_choices();
    Target t;
    if (!ask_target("Save Projection", choices, t)) return 0;
    const std::string ext = t.extension.toStdString();
    int status = 0;
    {
        WaitCursor wait;
        status = write_beside(t, [&](const std::string& base) {
            return choices[t.choice].format == kPng ? save_buffer_as_png(buffer, base + "." + ext)
                                                    : save_buffer_as_tiff(buffer, base, ext);
        });
    }
    if (status) error_handler(status);
    return status;
}

}  // extern "C"
