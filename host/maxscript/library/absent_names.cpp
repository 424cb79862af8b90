#include "maxscript/library/library.h"
#include "maxscript/machine/define.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace corrivane::host {

namespace {

/// Names of 3ds Max that stand for what this host does not have. A script that uses or assigns one gets an error
/// that says so. What the host defines itself under such a name, later, takes its place.
struct AbsentNames {
    /// What an error says: "this host has no <what>: <name>".
    std::string_view what;
    /// Separated by blanks.
    std::string_view names;
};

constexpr AbsentNames absent_names[] = {
    {"user interface",
     "createDialog destroyDialog newRolloutFloater closeRolloutFloater addRollout removeRollout "
     "addSubRollout removeSubRollout openUtility closeUtility messageBox popUpMenu registerRightClickMenu "
     "setFocus getOpenFileName getSaveFileName getSavePath getBitmapOpenFileName getBitmapSaveFileName "
     "getMAXOpenFileName getMAXSaveFileName selectSaveBitMap selectBitMap colorPickerDlg pickObject "
     "pickPoint pickOffsetDistance pickAnimatable getKBLine getKBValue getKBPoint getKBChar "
     "promptForHandler selectByName createTextureWizard startTool stopTool toolMode menuMan cui actionMan "
     "statusPanel cmdPanel toolbars pushPrompt popPrompt replacePrompt displayTempPrompt progressStart "
     "progressUpdate progressEnd getProgressCancel setProgressCancel disableProgressStart "
     "nitrousGraphicsManager createFloater mouse windows edit UIAccessor DialogMonitorOps setListenerSel "
     "setListenerSelText getListenerSel getListenerSelText clearListener newScript openEncryptedScript "
     "openLog closeLog flushLog macros macroRecorder medit meditMaterials activeMeditSlot MatEditor SME "
     "trackViews trackView schematicView schematicviews sceneExplorerManager timeDisplayMode keyboard "
     "hotKeys gw thePainterInterface displayColor colorMan setUIColor getUIColor maxHelp showHelp "
     "enterHelp"},
    {".NET",
     "dotNetObject dotNetClass dotNetMethod dotNet dotNetControl loadDotNetAssembly csharpUtilities "
     "dotNetMXSValue"},
    {"COM or OLE",
     "createOLEObject registerOLEInterface releaseOLEObject releaseAllOLEObjects OLEObject comObject"},
    {"Python", "python pymxs"},
    {"MAXScript debugger", "MXSDebugger stackTrace"},
    {"registry", "registry"},
    {"starting of other programs", "DOSCommand HiddenDOSCommand ShellLaunch"},
    {"network manager", "netrender NetRenderJob netRenderObject"},
    {"function",
     "addModifier addModifierWithLocalData deleteModifier collapseStack maxOps.CollapseNode convertTo "
     "convertToMesh convertToPoly convertToSplineShape snapshot snapshotAsMesh instanceReplace "
     "referenceReplace attachObj meshop polyop patchOps splineOps subObjectLevel modPanel setMesh getVert "
     "setVert getFace setFace getNumVerts getNumFaces getEdgeVis setEdgeVis getTVert setTVert getTVFace "
     "setTVFace getFaceMatID setFaceMatID getNormal setNormal getFaceNormal getVertSelection "
     "setVertSelection getFaceSelection setFaceSelection getEdgeSelection setEdgeSelection deleteFaces "
     "deleteVerts meshIntersect weldVerts addNewSpline addKnot closeSpline numSplines numKnots "
     "getKnotPoint setKnotPoint getKnotType setKnotType getInVec setInVec getOutVec setOutVec setFirstKnot "
     "updateShape resetShape lengthInterp pathInterp curveLength getSegLengths nearestPathParam exportFile "
     "importFile fbxExporterGetParam fbxExporterSetParam fbxImporterGetParam fbxImporterSetParam "
     "FBXExporterVersion OBJExp OBJImp saveMaxFile saveNodes saveTempFile autosave physique skinOps biped "
     "bipedMotion CATParent particleFlow simCloth boneSys ikSys HIKSolver reactor massFX nvPx PhysX "
     "paramWire wireParams appendIKSystem intersectRay intersectRayEx intersectRayScene "
     "rayMeshGridIntersect uvwUnwrap unwrapUVW channelInfo polyToolsUVWTweak PolyBoost assignVertexColors "
     "bakeShell renderToTexture bakeMaterial gTextureBaking lightTracer radiosityMeshOps SceneRadiosity "
     "SceneExposureControl exposureControl fogAtmosphere addAtmospheric setAtmospheric deleteAtmospheric "
     "getAtmospheric addEffect setEffect deleteEffect getEffect freeSceneBitmaps xrefs objXRefMgr objXRefs "
     "xrefPaths addAndWeld ATSOps ATSCustomDepsOps assetUser AssetManager IAssetAccessor custAttributes "
     "custAttribCollapseManager undoSystem theHold pluginManager assemblyMgr ExternalFileManager "
     "PopCharacter civilView batchRenderMgr retimer trackSelectionSets boundingBoxSelect"},
    {"material or map of this class",
     "Blend Composite_Material Double_Sided Ink__n_Paint Lightscape_Mtl Matte_Shadow Morpher_Material "
     "Multimaterial Raytrace RaytraceMaterial Shell_Material Shellac Top_Bottom TopBottom XRef_Material "
     "DirectX_9_Shader NoMaterial ArchitecturalMaterial Architectural Autodesk_Generic VRayMtl "
     "VRayLightMtl VRayBlendMtl VRay2SidedMtl VRayHDRI VRayDirt VRayColor CoronaMtl CoronaLightMtl "
     "CoronaBitmap CoronaPhysicalMtl ai_standard_surface ai_image arch___design__mi mr_Physical_Sky "
     "ProMaterial Mask Mix Noise Output Smoke Waves Wood Bricks Cellular Checker Color_Correction "
     "CompositeMap CompositeTexturemap Dent Falloff Flat_Mirror Gradient Gradient_Ramp Map_Output_Selector "
     "Marble MixTexture NoiseTexture Particle_Age Particle_MBlur Perlin_Marble Planet Raytrace_Map "
     "Reflect_Refract RGB_Multiply RGB_Tint RGBTint Speckle Splat Stucco Substance Swirl "
     "Thin_Wall_Refraction Vector_Map Vertex_Color VertexColor Normal_Bump OSLMap ShapeMap TextMap "
     "MultiTile MapChannel"},
    {"renderer of this class",
     "Arnold VRay V_Ray CoronaRenderer Corona_Renderer Quicksilver_Hardware_Renderer ART_Renderer "
     "mental_ray_renderer iray_Renderer VUE_File_Renderer NVIDIA_iray NVIDIA_mental_ray Redshift_Renderer "
     "FStormRender Maxwell_Render FinalRender"},
    {"modifier",
     "Bevel Cloth Mirror Push Relax Ripple Shell Skew Slice Smooth Stretch Sweep Taper Twist Affect_Region "
     "Attribute_Holder Bend BendMod Bevel_Profile Camera_Map Cap_Holes Chamfer_Modifier ChamferMod "
     "Cross_Section CreaseMod CrossSection DeleteMesh DeletePatch DeleteSpline Displace Disp_Approx "
     "Displacement_Approx Edit_Mesh Edit_Normals Edit_Patch Edit_Poly EditNormals EditPolyMod Edit_Spline "
     "EmptyModifier Extrude Face_Extrude FFD_2x2x2 FFD_3x3x3 FFD_4x4x4 FFDBox FFDCyl Fillet_Chamfer Flex "
     "Garment_Maker HairMod Hair_and_Fur Lathe Lattice Linked_XForm LS_Colors Material_By_Element "
     "MaterialModifier Melt mesh_select mesher MeshSmooth Morpher MultiRes Normalize_Spline Normalize_Spl "
     "NormalModifier Noisemodifier Noise_Modifier OpenSubdiv Optimize Patch_Select PathDeform Path_Deform "
     "PatchDeform Physique Point_Cache PointCache Point_Cache_Modifier Poly_Select PolyMeshSelect Preserve "
     "ProOptimizer Quadify_Mesh Renderable_Spline Select_by_Channel ShellModifier Skin SkinMorph SkinWrap "
     "Skin_Morph Skin_Wrap SliceModifier SmoothModifier Spherify SplineSelect STL_Check Subdivide "
     "Substitute Subsurf SurfDeform Surface_mapper Symmetry tessellate TurboSmooth Turn_to_Mesh "
     "Turn_to_Patch Turn_to_Poly TurnToMesh Unwrap_UVW UVWmap UVW_Mapping_Add UVW_Mapping_Clear UVW_XForm "
     "UVWUnwrap VertexPaint Vertex_Weld Vol__Select VolumeSelect WeldMod XForm"},
    {"object of this class",
     "Arc Circle Connect Plane Section Star Arcball AutoCADImport Biped_Object BlobMesh Bone BoneGeometry "
     "BoolObj Boolean2 Boolean3 C_Ext C_Ext_Geometry CapsuleGeometry Capsule ChamferBox ChamferCyl Cone "
     "Conform CrowdDelegate CV_Curve CV_Surf Cylinder Dimension Donut Dummy_Object Editable_Mesh "
     "Editable_Patch Editable_Poly EditablePolyMesh Egg Ellipse ExposeTransform Foliage Gengon GeoSphere "
     "Hedra Helix Helper_Container Hose Kinematic_Chain L_Ext L_Type_Stair linkBlendShape Loft MetaBall "
     "mr_Proxy nCloth NGon NURBSSurf NURBSCurveshape OilTank particlecloud PArray PBomb PCloud PF_Source "
     "Pipe PolyMeshObject Point_Curve Point_Surf Prism ProBoolean ProCutter Protractor Pyramid Quadpatch "
     "Railing Rectangle RingWave ShapeMerge Scatter Snow SpaceBend Spindle Spiral_Stair SplineShape Spray "
     "Straight_Stair SuperSpray Tape Teapot Terrain Text_Object TextPlus Torus Torus_Knot Tripatch Tube "
     "U_Type_Stair VRayProxy VRayPlane WaterLine Bomb Drag Gravity Motor PushSpaceWarp Vortex Wind "
     "SpaceConform SpaceDisplace SpaceRipple SpaceWave Deflector POmniFlect SOmniFlect UOmniFlect "
     "HDRI_Environment VRayLight VRayIES VRaySun VRayPhysicalCamera VRayDomeCamera CoronaLight CoronaSun "
     "CoronaCamera Daylight Daylight_Assembly_Head IES_Sky IES_Sun Linear_Light miAreaLight "
     "miAreaLightomni mr_Sky mr_Sun Free_Area Free_Light Free_Linear Target_Area Target_Light "
     "Target_Linear Skylight Sun_Positioner Texture_Sky Grid_Helper Compass ParamWire PointCloud alembic "
     "Alembic_Container VDBImport"},
    {"controller of this class",
     "LookAt Spring Attachment AudioFloat AudioPoint3 AudioPosition AudioRotation AudioScale "
     "Barycentric_Morph_Controller bezier_color bezier_float bezier_point2 bezier_point3 bezier_point4 "
     "bezier_position bezier_rgba bezier_rotation bezier_scale Block_Control boolean_float bool_list "
     "Color_RGB Cubic_Morph_Controller Euler_XYZ ExposeEulerControl ExposeFloatControl ExposePoint3Control "
     "float_Expression float_list float_limit Float_Mixer_Controller Float_Motion_Capture float_Reactor "
     "float_script float_Wire IKChainControl IKControl linear_float linear_position linear_rotation "
     "linear_scale Link_Constraint Link_Transform LookAt_Constraint Noise_float Noise_point3 "
     "Noise_position Noise_rotation Noise_scale On_Off Orientation_Constraint Path_Constraint "
     "point3_Expression point3_List point3_Reactor point3_script Point3_Wire Point3_XYZ "
     "Position_Constraint position_Expression position_list Position_Motion_Capture position_Reactor "
     "position_script Position_Wire Position_XYZ prs rotation_list rotation_script Rotation_Wire "
     "scale_Expression scale_list scale_script Scale_Wire ScaleXYZ SlaveFloat SpringPositionController "
     "Surface_position tcb_float tcb_point3 tcb_position tcb_rotation tcb_scale TransformScript "
     "transform_script Waveform_Float MasterBlock Visibility_Track addNewNoteKey numNoteTracks "
     "addNoteTrack newNoteTrack notetracks reactionMgr listController"},
};

}  // namespace

void define_absent_names() {
    for (const auto& [what, names] : absent_names) {
        for (std::size_t start = names.find_first_not_of(' '); start != std::string_view::npos;) {
            const std::size_t end = std::min(names.find(' ', start), names.size());
            define_absent(std::string(names.substr(start, end - start)), std::string(what));
            start = names.find_first_not_of(' ', end);
        }
    }
}

}  // namespace corrivane::host
