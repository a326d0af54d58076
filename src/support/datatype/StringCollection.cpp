#include <QzDataType/StringCollection.h>

#include <QzBase/WideString.h>

#include <deque>

namespace QzDataType
{
    StringCollection::~StringCollection() = default;

    namespace
    {
        class StringCollectionImpl : public StringCollection
        {
        public:
            void Append(unsigned short const* text) override
            {
                if (text)
                    mItems.emplace_back(text);
                else
                    mItems.emplace_back();
            }

            unsigned int GetCount() const override { return static_cast<unsigned int>(mItems.size()); }
            unsigned short const* GetItem(unsigned int index) const override { return mItems[index].c_str(); }

        private:
            std::deque<QzBase::WideString> mItems;
        };
    }

    StringCollection* CreateStringCollection()
    {
        return new StringCollectionImpl;
    }
}
