#pragma once

#include "net/simple_socket.h"
#include "render/frame.h"

#include <max/core_interface.h>
#include <max/renderer.h>
#include <max/scene.h>
#include <windows.h>

#include <string>
#include <vector>

/// The one record of the current render job, and everything that can be done with it.
///
/// A job is idle, started (`jobRunning`) or has its renderer open (`rendererOpen` besides). StartJob resets
/// the options and starts it; the first RenderFrame opens the renderer, which later frames reuse; EndJob
/// closes and ends. Options are therefore set between StartJob and the frames, but for the four ignoreMissing
/// flags, which the load of the scene obeys and which stay set.
///
/// Only 3ds Max's main thread touches it; there is no lock. Everything that it points to in 3ds Max is
/// borrowed, except the bitmaps of a frame, which it makes and gives back. Operations fail with
/// std::runtime_error; a failing operation leaves the fields as far as it got, and the files that it wrote.
struct JobState {
    using simple_socket = quorvel::win32::simple_socket;

    bool jobRunning = false;
    bool restartRendererMode = false;  ///< close the renderer after every frame
    bool rendererOpen = false;
    int frameNumberBase = 0;  ///< added to the frame number in output file names
    bool showFrameBuffer = false;
    bool removePadding = false;  ///< output names carry no frame number
    bool alphaSplit = false;     ///< every output file must have its alpha companion
    bool useOutputImageFilename = false;
    std::string outputImageFilename;  ///< in place of the scene's output name
    bool ignoreMissingExternalFiles = false;
    bool ignoreMissingUVWs = false;
    bool ignoreMissingDLLs = false;
    bool ignoreMissingXREFs = false;
    bool failOnBlackFrames = false;
    int blackFramePercentage = 0;   ///< a frame with that share of black pixels fails
    float blackFrameThreshold = 0;  ///< the largest value that still counts as black, 0 to 1
    bool useJpegOutput = false;
    std::string jpegOutputPath;  ///< prefix of the preview files: a folder with its final backslash
    bool regionRendering = false;
    int regionLeft = 0;  ///< the region grown by its padding and clipped to the image, in pixels
    int regionTop = 0;
    int regionRight = 0;
    int regionBottom = 0;
    int regionPadding = 0;
    int regionLeftOverflow = 0;  ///< how much of the padding the clipping took, on each side
    int regionTopOverflow = 0;
    int regionRightOverflow = 0;
    int regionBottomOverflow = 0;
    ViewExp* activeViewport = nullptr;
    RendParams renderParams;
    int currentFrame = 0;  ///< of the last render task or script command
    Interface* coreInterface = nullptr;
    Interface8* coreInterface8 = nullptr;
    BitmapInfo outputBitmapInfo;
    std::string sceneOutputFilename;
    std::vector<std::string> writtenOutputFiles;  ///< of the current frame, in the order of writing
    bool multipassEnabled = false;
    int multipassTotalPasses = 0;
    IMultiPassCameraEffect* multipassEffect = nullptr;
    INode* renderCameraNode = nullptr;  ///< null: the active viewport is rendered
    Object* renderCameraObject = nullptr;
    INode* multipassHolderNode = nullptr;  ///< the camera's child "Multipass" that carries the effect
    Object* multipassHolderObject = nullptr;
    bool rendererClass1 = false;
    bool rendererClass2 = false;
    int renderElementCount = 0;
    std::vector<IRenderElement*> renderElements;
    std::vector<PBBitmap*> elementBitmaps;     ///< one for each element; null where an element has none
    std::vector<Bitmap*> elementAccumulators;  ///< one for each element during a multi-pass frame, else empty
    std::string lastExceptionReport;
    Frame frameUnderWay;

    /// Opens connect_log.
    JobState();
    JobState(const JobState&) = delete;
    JobState& operator=(const JobState&) = delete;

    // Guarded calls (guarded_calls.cpp). Each sets `errorText`: empty when the call completed, otherwise what
    // was trapped. The results are then those of a failure.
    int CallLoadFromFile(const std::string& fileName, std::string& errorText);
    int CallOpenCurRenderer(INode* cameraNode, ViewExp* viewport, int renderType, int width, int height,
                            std::string& errorText);
    void CallCloseCurRenderer(std::string& errorText);
    int CallCurRendererRenderFrame(TimeValue time, Bitmap* bitmap, RendProgressCallback* progressCallback,
                                   float frameDuration, ViewParams* viewParams, RECT* regionRect,
                                   std::string& errorText);
    void CallStartJob(const std::string& maxFile, const std::string& cameraName, std::string& errorText);
    unsigned short CallRenderFrame(int frame, simple_socket& socket, std::string& errorText);
    void CallEndJob(std::string& errorText);

    /// The filter of every guard: stores the crash report of whatever reaches it and returns 1 for the faults
    /// that guards take, 0 for everything else. Runs on top of the faulting frames and allocates nothing.
    int FilterSehException(DWORD code, EXCEPTION_POINTERS* exceptionInformation);
    /// The report of the last exception that reached a guard, "No message" before the first.
    std::string GetLastExceptionReport() const;

    // Starting a job (start_job.cpp)

    /// Loads a scene and chooses what to render through: the named camera; with an empty name the active
    /// viewport's camera, or the viewport itself.
    void StartJob(const std::string& maxFile, const std::string& cameraName);
    /// Tells 3ds Max what to do about missing files, and logs what it will do.
    void SetupDefaultActions();
    void CheckDefaultActions();
    /// Four lines about the output image as the last frame prepared it: name, format, size, aspect.
    std::string DescribeOutput() const;

    // Opening and closing (open_renderer.cpp, end_job.cpp)

    /// Opens the renderer for the camera or the viewport and finds out how many passes its effect has. Does
    /// nothing when it is open already.
    void OpenRenderer(int frame);
    void CloseRenderer();
    void EndJob();

    // Rendering a frame (render_frame.cpp, multipass.cpp)

    /// Renders a frame and writes its files, reporting progress over `socket`. Returns 0, also when the frame
    /// was skipped because its file exists.
    unsigned short RenderFrame(int frame, simple_socket& socket);
    void PrepareBitmapInfo(BitmapInfo& bitmapInfo) const;
    /// Makes sure that the folder of an output name exists.
    void CreateOutputPath(const BitmapInfo& bitmapInfo) const;
    void ReleaseElementBitmaps();

    // Writing and checking images (output_writing.cpp, black_frame_check.cpp)

    /// Writes a bitmap to the description's file, proves that the file exists, and notes it as written.
    void save_output(Bitmap* bitmap, const BitmapInfo& info);
    /// The same for the region without its padding.
    void save_region_output(Bitmap* bitmap, const BitmapInfo& info);
    /// Throws when too large a share of the pixels is black.
    void check_black_frame(const Bitmap* bitmap) const;
    /// Writes a JPEG copy of the frame into the worker's preview folder.
    void write_jpeg_preview(Bitmap* bitmap, const BitmapInfo& info);
    /// A file written for the current frame. Throws std::invalid_argument when there is none of that index.
    const std::string& GetOutputFilename(int index) const;

    // Serving the worker (farm/)

    /// Splits a command line, runs the command and replies on `socket`. What a command does not answer itself
    /// passes as an exception.
    void ProcessCommand(const std::string& commandLine, simple_socket& socket);

    // Requests to the worker (farm/farm_requests.cpp). A socket failure becomes a MAXScript RuntimeError, an
    // item that does not exist a std::invalid_argument.
    void SetTitle(const std::string& title, simple_socket& socket);
    void LogMessage(const std::string& text, simple_socket& socket);
    /// Whether the worker lets the render go on.
    bool SetProgress(float percent, simple_socket& socket);
    std::string GetJobInfoEntry(const std::string& key, simple_socket& socket);
    std::string GetSubmitInfoEntry(const std::string& key, simple_socket& socket);
    int GetSubmitInfoEntryElementCount(const std::string& key, simple_socket& socket);
    std::string GetSubmitInfoEntryElement(int index, const std::string& key, simple_socket& socket);
    std::string GetAuxFilename(int index, simple_socket& socket);
};

/// The job of this process.
extern JobState job_state;

/// The scene time of a frame, in ticks. It wraps as 32-bit numbers do: frames that far from 0 have no time.
TimeValue frame_time(int frame);
