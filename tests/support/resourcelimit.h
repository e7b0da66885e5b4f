// SPDX-License-Identifier: MIT
#pragma once

/// While it lives, one of the system's limits for this program is another one. Only where systems have such
/// limits.
class ResourceLimit
{
public:
    ResourceLimit(const ResourceLimit &) = delete;
    ResourceLimit &operator=(const ResourceLimit &) = delete;

protected:
    enum class Resource
    {
        OpenFiles,
        FileSize
    };

    ResourceLimit(Resource resource, unsigned long long value);
    ~ResourceLimit();

private:
    const Resource m_resource;
    unsigned long long m_before = 0;
};

/// No file can be opened beyond that number, without one no further file at all.
class OpenFilesLimit : public ResourceLimit
{
public:
    OpenFilesLimit()
        : OpenFilesLimit{FirstFree()}
    {
    }
    explicit OpenFilesLimit(unsigned long long files)
        : ResourceLimit{Resource::OpenFiles, files}
    {
    }

private:
    static unsigned long long FirstFree();
};

/// No file that is written may grow, as on a full disk: each writing fails.
class FileSizeLimit : public ResourceLimit
{
public:
    FileSizeLimit()
        : ResourceLimit{Resource::FileSize, 0}
    {
    }
};
