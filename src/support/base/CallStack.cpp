#include <QzBase/CallStack.h>

#include <QzBase/Conversions.h>

#define BOOST_STACKTRACE_LINK
#include <boost/stacktrace.hpp>

#include <string>
#include <vector>

namespace QzBase
{
    CallStack::~CallStack() = default;

    namespace
    {
        /// "function at file:line", without the file where no debug information names it. A frame that nothing
        /// is known of shows its module and address.
        std::string Describe(boost::stacktrace::frame const& frame)
        {
            std::string text = frame.name();
            if (text.empty())
                return boost::stacktrace::to_string(frame);
            std::string const file = frame.source_file();
            if (!file.empty())
                text += " at " + file + ':' + std::to_string(frame.source_line());
            return text;
        }

        class FrameImpl final : public CallStack::Frame
        {
        public:
            explicit FrameImpl(std::string const& description)
                : mDescription(UTF8ToWideChar(description.c_str(), true).c_str())
            {
            }

            unsigned short const* GetDescription() const override { return mDescription.c_str(); }

        private:
            WideString mDescription;
        };

        class CallStackImpl : public CallStack
        {
        public:
            explicit CallStackImpl(boost::stacktrace::stacktrace const& stack)
            {
                mFrames.reserve(stack.size());
                for (boost::stacktrace::frame const& frame : stack)
                    mFrames.emplace_back(Describe(frame));
            }

            unsigned int GetFrameCount() const override { return static_cast<unsigned int>(mFrames.size()); }
            Frame const& GetFrame(unsigned int index) const override { return mFrames[index]; }
            void Destroy() override { delete this; }

        private:
            std::vector<FrameImpl> mFrames;
        };
    }

    // Its own frame is the one that is skipped, so it has to have one.
    __attribute__((noinline)) CallStack* CreateCallStack(Buffer*)
    {
        boost::stacktrace::stacktrace const stack(1, static_cast<std::size_t>(-1));
        return new CallStackImpl(stack);
    }
}
