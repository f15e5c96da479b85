// The registry scripts, kept as text in the registrar's script language:
// keys in braces, `s` string values, `val` named values, NoRemove and
// ForceRemove markers, and %MODULE% for the library's full path. Script 104
// registers {85C307C7-...}, a CLSID the class table does not serve, so the
// ProgID of CompoundDocument leads nowhere: documents come only from
// StructuredStorage. Scripts 118 and 120 are kept but never run.
#include "typelib/registry_scripts.h"

namespace quillbox::typelib {
namespace {

constexpr char16_t kScript101[] = uR"REG(HKCR
{
	Quillbox.Stream.1 = s 'Stream Class'
	{
		CLSID = s '{8A7D064E-6242-11D4-9F08-400004053024}'
	}
	Quillbox.Stream = s 'Stream Class'
	{
		CLSID = s '{8A7D064E-6242-11D4-9F08-400004053024}'
		CurVer = s 'Quillbox.Stream.1'
	}
	NoRemove CLSID
	{
		ForceRemove {8A7D064E-6242-11D4-9F08-400004053024} = s 'Stream Class'
		{
			ProgID = s 'Quillbox.Stream.1'
			VersionIndependentProgID = s 'Quillbox.Stream'
			InprocServer32 = s '%MODULE%'
			'TypeLib' = s '{8A7D0641-6242-11D4-9F08-400004053024}'
		}
	}
}
)REG";

constexpr char16_t kScript102[] = uR"REG(HKCR
{
	Quillbox.StructuredStorage.1 = s 'StructuredStorage Class'
	{
		CLSID = s '{85C307C5-62DE-11D4-9F08-400004053024}'
	}
	Quillbox.StructuredStorage = s 'StructuredStorage Class'
	{
		CLSID = s '{85C307C5-62DE-11D4-9F08-400004053024}'
		CurVer = s 'Quillbox.StructuredStorage.1'
	}
	NoRemove CLSID
	{
		ForceRemove {85C307C5-62DE-11D4-9F08-400004053024} = s 'StructuredStorage Class'
		{
			ProgID = s 'Quillbox.StructuredStorage.1'
			VersionIndependentProgID = s 'Quillbox.StructuredStorage'
			ForceRemove 'Programmable'
			InprocServer32 = s '%MODULE%'
			'TypeLib' = s '{8A7D0641-6242-11D4-9F08-400004053024}'
		}
	}
}
)REG";

constexpr char16_t kScript104[] = uR"REG(HKCR
{
	Quillbox.CompoundDocument.1 = s 'CompoundDocument Class'
	{
		CLSID = s '{85C307C7-62DE-11D4-9F08-400004053024}'
	}
	Quillbox.CompoundDocument = s 'CompoundDocument Class'
	{
		CLSID = s '{85C307C7-62DE-11D4-9F08-400004053024}'
		CurVer = s 'Quillbox.CompoundDocument.1'
	}
	NoRemove CLSID
	{
		ForceRemove {85C307C7-62DE-11D4-9F08-400004053024} = s 'CompoundDocument Class'
		{
			ProgID = s 'Quillbox.CompoundDocument.1'
			VersionIndependentProgID = s 'Quillbox.CompoundDocument'
			ForceRemove 'Programmable'
			InprocServer32 = s '%MODULE%'
			{
				val ThreadingModel = s 'Apartment'
			}
			'TypeLib' = s '{8A7D0641-6242-11D4-9F08-400004053024}'
		}
	}
}
)REG";

constexpr char16_t kScript105[] = uR"REG(HKCR
{
	Quillbox.Storage.1 = s 'Storage Class'
	{
		CLSID = s '{527AEF24-630D-11D4-9F08-400004053024}'
	}
	Quillbox.Storage = s 'Storage Class'
	{
		CLSID = s '{527AEF24-630D-11D4-9F08-400004053024}'
		CurVer = s 'Quillbox.Storage.1'
	}
	NoRemove CLSID
	{
		ForceRemove {527AEF24-630D-11D4-9F08-400004053024} = s 'Storage Class'
		{
			ProgID = s 'Quillbox.Storage.1'
			VersionIndependentProgID = s 'Quillbox.Storage'
			ForceRemove 'Programmable'
			InprocServer32 = s '%MODULE%'
			'TypeLib' = s '{8A7D0641-6242-11D4-9F08-400004053024}'
		}
	}
}
)REG";

constexpr char16_t kScript106[] = uR"REG(HKCR
{
	Quillbox.Storages.1 = s 'Storages Class'
	{
		CLSID = s '{1A01C225-63AA-11D4-9F08-400004053024}'
	}
	Quillbox.Storages = s 'Storages Class'
	{
		CLSID = s '{1A01C225-63AA-11D4-9F08-400004053024}'
		CurVer = s 'Quillbox.Storages.1'
	}
	NoRemove CLSID
	{
		ForceRemove {1A01C225-63AA-11D4-9F08-400004053024} = s 'Storages Class'
		{
			ProgID = s 'Quillbox.Storages.1'
			VersionIndependentProgID = s 'Quillbox.Storages'
			ForceRemove 'Programmable'
			InprocServer32 = s '%MODULE%'
			'TypeLib' = s '{8A7D0641-6242-11D4-9F08-400004053024}'
		}
	}
}
)REG";

constexpr char16_t kScript107[] = uR"REG(HKCR
{
	Quillbox.Streams.1 = s 'Streams Class'
	{
		CLSID = s '{1A01C227-63AA-11D4-9F08-400004053024}'
	}
	Quillbox.Streams = s 'Streams Class'
	{
		CLSID = s '{1A01C227-63AA-11D4-9F08-400004053024}'
		CurVer = s 'Quillbox.Streams.1'
	}
	NoRemove CLSID
	{
		ForceRemove {1A01C227-63AA-11D4-9F08-400004053024} = s 'Streams Class'
		{
			ProgID = s 'Quillbox.Streams.1'
			VersionIndependentProgID = s 'Quillbox.Streams'
			ForceRemove 'Programmable'
			InprocServer32 = s '%MODULE%'
			'TypeLib' = s '{8A7D0641-6242-11D4-9F08-400004053024}'
		}
	}
}
)REG";

constexpr char16_t kScript110[] = uR"REG(HKCR
{
	Quillbox.PropertySets.1 = s 'PropertySets Class'
	{
		CLSID = s '{35223D85-6645-11D4-9F00-0000E8C6EB23}'
	}
	Quillbox.PropertySets = s 'PropertySets Class'
	{
		CLSID = s '{35223D85-6645-11D4-9F00-0000E8C6EB23}'
		CurVer = s 'Quillbox.PropertySets.1'
	}
	NoRemove CLSID
	{
		ForceRemove {35223D85-6645-11D4-9F00-0000E8C6EB23} = s 'PropertySets Class'
		{
			ProgID = s 'Quillbox.PropertySets.1'
			VersionIndependentProgID = s 'Quillbox.PropertySets'
			ForceRemove 'Programmable'
			InprocServer32 = s '%MODULE%'
			'TypeLib' = s '{8A7D0641-6242-11D4-9F08-400004053024}'
		}
	}
}
)REG";

constexpr char16_t kScript111[] = uR"REG(HKCR
{
	Quillbox.PropertySet.1 = s 'PropertySet Class'
	{
		CLSID = s '{35223D87-6645-11D4-9F00-0000E8C6EB23}'
	}
	Quillbox.PropertySet = s 'PropertySet Class'
	{
		CLSID = s '{35223D87-6645-11D4-9F00-0000E8C6EB23}'
		CurVer = s 'Quillbox.PropertySet.1'
	}
	NoRemove CLSID
	{
		ForceRemove {35223D87-6645-11D4-9F00-0000E8C6EB23} = s 'PropertySet Class'
		{
			ProgID = s 'Quillbox.PropertySet.1'
			VersionIndependentProgID = s 'Quillbox.PropertySet'
			ForceRemove 'Programmable'
			InprocServer32 = s '%MODULE%'
			'TypeLib' = s '{8A7D0641-6242-11D4-9F08-400004053024}'
		}
	}
}
)REG";

constexpr char16_t kScript112[] = uR"REG(HKCR
{
	Quillbox.Property.1 = s 'Property Class'
	{
		CLSID = s '{EA8487A2-665E-11D4-9F00-0000E8C6EB23}'
	}
	Quillbox.Property = s 'Property Class'
	{
		CLSID = s '{EA8487A2-665E-11D4-9F00-0000E8C6EB23}'
		CurVer = s 'Quillbox.Property.1'
	}
	NoRemove CLSID
	{
		ForceRemove {EA8487A2-665E-11D4-9F00-0000E8C6EB23} = s 'Property Class'
		{
			ProgID = s 'Quillbox.Property.1'
			VersionIndependentProgID = s 'Quillbox.Property'
			ForceRemove 'Programmable'
			InprocServer32 = s '%MODULE%'
			'TypeLib' = s '{8A7D0641-6242-11D4-9F08-400004053024}'
		}
	}
}
)REG";

constexpr char16_t kScript113[] = uR"REG(HKCR
{
	Quillbox.SummaryInformation.1 = s 'SummaryInformation Class'
	{
		CLSID = s '{63207A0A-73B3-11D4-8775-0000E8C6E6BE}'
	}
	Quillbox.SummaryInformation = s 'SummaryInformation Class'
	{
		CLSID = s '{63207A0A-73B3-11D4-8775-0000E8C6E6BE}'
		CurVer = s 'Quillbox.SummaryInformation.1'
	}
	NoRemove CLSID
	{
		ForceRemove {63207A0A-73B3-11D4-8775-0000E8C6E6BE} = s 'SummaryInformation Class'
		{
			ProgID = s 'Quillbox.SummaryInformation.1'
			VersionIndependentProgID = s 'Quillbox.SummaryInformation'
			ForceRemove 'Programmable'
			InprocServer32 = s '%MODULE%'
			'TypeLib' = s '{8A7D0641-6242-11D4-9F08-400004053024}'
		}
	}
}
)REG";

constexpr char16_t kScript114[] = uR"REG(HKCR
{
	Quillbox.DocumentSummary.1 = s 'DocumentSummary Class'
	{
		CLSID = s '{B977D422-74F3-11D4-9F08-400004053024}'
	}
	Quillbox.DocumentSummary = s 'DocumentSummary Class'
	{
		CLSID = s '{B977D422-74F3-11D4-9F08-400004053024}'
		CurVer = s 'Quillbox.DocumentSummary.1'
	}
	NoRemove CLSID
	{
		ForceRemove {B977D422-74F3-11D4-9F08-400004053024} = s 'DocumentSummary Class'
		{
			ProgID = s 'Quillbox.DocumentSummary.1'
			VersionIndependentProgID = s 'Quillbox.DocumentSummary'
			ForceRemove 'Programmable'
			InprocServer32 = s '%MODULE%'
			'TypeLib' = s '{8A7D0641-6242-11D4-9F08-400004053024}'
		}
	}
}
)REG";

constexpr char16_t kScript115[] = uR"REG(HKCR
{
	Quillbox.UserDefined.1 = s 'UserDefined Class'
	{
		CLSID = s '{A69D1026-8C15-11D4-8776-0000E8C6E6BE}'
	}
	Quillbox.UserDefined = s 'UserDefined Class'
	{
		CLSID = s '{A69D1026-8C15-11D4-8776-0000E8C6E6BE}'
		CurVer = s 'Quillbox.UserDefined.1'
	}
	NoRemove CLSID
	{
		ForceRemove {A69D1026-8C15-11D4-8776-0000E8C6E6BE} = s 'UserDefined Class'
		{
			ProgID = s 'Quillbox.UserDefined.1'
			VersionIndependentProgID = s 'Quillbox.UserDefined'
			ForceRemove 'Programmable'
			InprocServer32 = s '%MODULE%'
			'TypeLib' = s '{8A7D0641-6242-11D4-9F08-400004053024}'
		}
	}
}
)REG";

constexpr char16_t kScript116[] = uR"REG(HKCR
{
	Quillbox.NtfsFilePropertySets.1 = s 'NtfsFilePropertySets Class'
	{
		CLSID = s '{58927E2F-E88B-4609-BD52-6A27E1FC4B28}'
	}
	Quillbox.NtfsFilePropertySets = s 'NtfsFilePropertySets Class'
	{
		CLSID = s '{58927E2F-E88B-4609-BD52-6A27E1FC4B28}'
		CurVer = s 'Quillbox.NtfsFilePropertySets.1'
	}
	NoRemove CLSID
	{
		ForceRemove {58927E2F-E88B-4609-BD52-6A27E1FC4B28} = s 'NtfsFilePropertySets Class'
		{
			ProgID = s 'Quillbox.NtfsFilePropertySets.1'
			VersionIndependentProgID = s 'Quillbox.NtfsFilePropertySets'
			ForceRemove 'Programmable'
			InprocServer32 = s '%MODULE%'
			'TypeLib' = s '{8A7D0641-6242-11D4-9F08-400004053024}'
		}
	}
}
)REG";

constexpr char16_t kScript118[] = uR"REG(HKCR
{
	Quillbox.MyDataObj.1 = s 'MyDataObj Class'
	{
		CLSID = s '{5AD67FA2-A3B2-11D4-8776-0000E8C6E6BE}'
	}
	Quillbox.MyDataObj = s 'MyDataObj Class'
	{
		CLSID = s '{5AD67FA2-A3B2-11D4-8776-0000E8C6E6BE}'
	}
	NoRemove CLSID
	{
		ForceRemove {5AD67FA2-A3B2-11D4-8776-0000E8C6E6BE} = s 'MyDataObj Class'
		{
			ProgID = s 'Quillbox.MyDataObj.1'
			VersionIndependentProgID = s 'Quillbox.MyDataObj'
			InprocServer32 = s '%MODULE%'
			{
				val ThreadingModel = s 'both'
			}
		}
	}
}
)REG";

constexpr char16_t kScript120[] = uR"REG(HKCR
{
	Quillbox.EnumFormatEtc.1 = s 'EnumFormatEtc Class'
	{
		CLSID = s '{457F4902-A422-11D4-8776-0000E8C6E6BE}'
	}
	Quillbox.EnumFormatEtc = s 'EnumFormatEtc Class'
	{
		CLSID = s '{457F4902-A422-11D4-8776-0000E8C6E6BE}'
	}
	NoRemove CLSID
	{
		ForceRemove {457F4902-A422-11D4-8776-0000E8C6E6BE} = s 'EnumFormatEtc Class'
		{
			ProgID = s 'Quillbox.EnumFormatEtc.1'
			VersionIndependentProgID = s 'Quillbox.EnumFormatEtc'
			InprocServer32 = s '%MODULE%'
			{
				val ThreadingModel = s 'both'
			}
		}
	}
}
)REG";

}  // namespace

const char16_t* RegistryScript(unsigned id) {
  switch (id) {
    case 101: return kScript101;
    case 102: return kScript102;
    case 104: return kScript104;
    case 105: return kScript105;
    case 106: return kScript106;
    case 107: return kScript107;
    case 110: return kScript110;
    case 111: return kScript111;
    case 112: return kScript112;
    case 113: return kScript113;
    case 114: return kScript114;
    case 115: return kScript115;
    case 116: return kScript116;
    case 118: return kScript118;
    case 120: return kScript120;
    default: return nullptr;
  }
}

}  // namespace quillbox::typelib
