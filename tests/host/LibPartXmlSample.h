#pragma once
// A library part XML laid out as the import generates it, for the stand-in
// converter's tests. Fields are inserted unescaped, as the generator does.
#include <string>

struct LibPartXmlSample {
    std::string mainGuid = "4F3C2B1A-0D9E-4C8B-A76F-5E4D3C2B1A09";
    std::string pointFile = "Scan_data.gspc";
    std::string e57Path = "/Users/anna/Scans/Scan.e57";
    std::string sizeX = "1.5";
    std::string densityValue = "10";
    std::string totalValue = "123456";

    std::string Xml() const
    {
        std::string x;
        x += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
        x += "<Symbol IsArchivable=\"false\" IsPlaceable=\"true\" MainGUID=\"" + mainGuid +
             "\" MigrationValue=\"Normal\" Owner=\"1196638531\" Signature=\"1196644685\" Version=\"44\">\n\n";
        x += "<Ancestry SectVersion=\"1\" SectionFlags=\"0\" SubIdent=\"0\" Template=\"false\">\n"
             "\t<MainGUID>F938E33A-329D-4A36-BE3E-85E126820996</MainGUID>\n"
             "\t<MainGUID>103E8D2C-8230-42E1-9597-46F84CCE28C0</MainGUID>\n"
             "\t<MainGUID>B298E56B-35FF-45C6-AA50-6D7F0B40BB1A</MainGUID>\n"
             "</Ancestry>\n\n";
        x += "<CalledMacros SectVersion=\"2\" SectionFlags=\"0\" SubIdent=\"0\">\n</CalledMacros>\n\n";
        x += "<Script_3D SectVersion=\"20\" SectionFlags=\"0\" SubIdent=\"0\">\n<![CDATA[\n"
             "if bProject2D then\n\taddz _upperCutPlaneHeight\n\tcutplane{2} 0, 1\n\tdel 1\nendif\n\n"
             "mul _scale3DModelX, _scale3DModelY, _scale3DModelZ\n\n"
             "POINTCLOUD \"" + pointFile + "\"\n\n\ndel 1\n]]>\n</Script_3D>\n\n";
        x += "<Script_2D SectVersion=\"20\" SectionFlags=\"0\" SubIdent=\"0\">\n<![CDATA[\n"
             "project2{2} 3, 270, 3,\n\t\t\tparameters bProject2D = 1\n\n]]>\n</Script_2D>\n\n";
        x += "<Script_1D SectVersion=\"20\" SectionFlags=\"0\" SubIdent=\"0\">\n<![CDATA[\n"
             "EPS = 0.00001\nMODEL_UNIT_M\t= 1\n_scaleOriginalSize = 1\n]]>\n</Script_1D>\n\n";
        x += "<Script_UI SectVersion=\"20\" SectionFlags=\"0\" SubIdent=\"0\">\n<![CDATA[\n"
             "dim\tstUIValues[]\n\tstUIValues[1]\t= `Einheit und Masstab Einstellungen`\n"
             "if result < 1 then\n\tworkingUnits = \"%.0mm\"\nendif\n"
             "ui_outfield\t\tSTR(iDensityPercent, 1, 0) + \" % (\" + STR(iReducedPoints, 1, 0) + \" von \","
             "\txPos2,\tyCurr,\t444-xPos2,\toutFldHgt\n]]>\n</Script_UI>\n\n";
        x += "<Script_VL SectVersion=\"20\" SectionFlags=\"0\" SubIdent=\"0\">\n<![CDATA[\n"
             "hideparameter all \"A\", \"B\", \"ZZYZX\"\n_originalUnitX = " + sizeX +
             "\nlock \"iDensityPercent\"\n]]>\n</Script_VL>\n\n";
        x += "<ParamSection SectVersion=\"27\" SectionFlags=\"0\" SubIdent=\"0\">\n"
             "\t<ParamSectHeader>\n\t\t<AutoHotspots>false</AutoHotspots>\n"
             "\t\t<StatBits><STBit_UIDefault/><STBit_FixSize/></StatBits>\n\t</ParamSectHeader>\n"
             "\t<Parameters>\n";
        x += Par("Length", "A", "Dimension 1", "", sizeX);
        x += Par("Length", "B", "Dimension 2", "", "2.25");
        x += Par("Boolean", "AC_show2DHotspotsIn3D", "Show 2D Hotspots in 3D", "<ParFlg_Hidden/>", "0");
        x += "\t\t<Title Name=\"tRep3D\"><Description><![CDATA[\"3D Representation\"]]></Description><Fix/></Title>\n";
        x += Par("Integer", "iModelUnit", "Basic Model Unit", "<ParFlg_Child/>", "1");
        x += Par("RealNum", "offsetX", "X Coordinate of The Point Cloud Origin", "<ParFlg_Child/><ParFlg_Hidden/>",
                 "-12.5");
        x += Par("RealNum", "scaleRatioXY", "", "<ParFlg_Child/><ParFlg_Hidden/>", "1");
        x += Par("Boolean", "bOverrideCutplane", "Override Floor Plan Cut Plane Height", "<ParFlg_BoldName/>", "0");
        x += Par("Integer", "iDensityPercent", "Importierte Dichte (%)", "", densityValue);
        x += Par("Integer", "iTotalPoints", "Gesamtpunkte", "<ParFlg_Hidden/>", totalValue);
        x += "\t\t<String Name=\"sE57Path\"><Description><![CDATA[\"E57 Quelldatei\"]]></Description><Fix/>"
             "<Flags><ParFlg_Hidden/></Flags><Value><![CDATA[\"" + e57Path + "\"]]></Value></String>\n";
        x += "\t</Parameters>\n</ParamSection>\n\n</Symbol>\n";
        return x;
    }

    static std::string Par(const std::string& type, const std::string& name, const std::string& description,
                           const std::string& flags, const std::string& value)
    {
        std::string x = "\t\t<" + type + " Name=\"" + name + "\"><Description><![CDATA[\"" + description +
                        "\"]]></Description><Fix/>";
        if (!flags.empty()) {
            x += "<Flags>" + flags + "</Flags>";
        }
        return x + "<Value>" + value + "</Value></" + type + ">\n";
    }
};
